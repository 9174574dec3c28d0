#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "cob/opcodes.h"

/// The statements that are one instruction: their syntax as parser and printer share it.
namespace orb::unitview::bos {

/// How constants read best where an expression stands.
enum class ValueStyle : std::uint8_t {
    plain,
    linear,     ///< [2.5]
    angular,    ///< <90>
    unitValue,  ///< an id of get and set
    explosion,  ///< flags of explode
};

/// One element of a statement behind its keyword.
struct FormPart {
    enum class Kind : std::uint8_t {
        end,
        piece,
        axis,
        word,        ///< `word`, literally
        option,      ///< `word` and what follows it may be missing; the value then is 0
        value,       ///< an expression, the `push`th value that the instruction expects
        hiddenZero,  ///< a value 0 that the source does not show
    };
    Kind kind = Kind::end;
    std::string_view word = {};
    std::uint8_t push = 0;
    ValueStyle style = ValueStyle::plain;
};

inline constexpr std::size_t kMaxFormParts = 7;

struct StatementForm {
    Op op;
    std::string_view keyword;
    std::array<FormPart, kMaxFormParts> parts;
};

/// All forms. Those with the same keyword stand side by side and differ first in a `word`.
std::span<const StatementForm> statementForms();

/// The form of an instruction, or null for one that is no such statement.
const StatementForm* formOf(Op op);

}  // namespace orb::unitview::bos
