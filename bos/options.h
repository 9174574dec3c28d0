#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bos/scale.h"

namespace orb::unitview::bos {

/// When a script's closing brace stands for a return. Safe: unless the body's last statement is
/// one. Old compilers looked further back, so that a script can run on into the next. Compatible:
/// unless the last simple statement of the text so far is one. Last word: unless the last word of
/// the code so far is one, which may be another script's implicit return.
enum class ImplicitReturn : std::uint8_t { safe, compat, lastWord };
/// What `return;` and the implicit return leave: a zero, or a fresh local and nothing.
enum class ValuelessReturn : std::uint8_t { push0, bare };
/// How f(a, b) pushes its arguments: so that a becomes local 0, or a first.
enum class ArgumentOrder : std::uint8_t { vm, source };

/// How source and bytecode correspond where the language leaves it open.
struct BosOptions {
    Scale linearScale{163840};
    Scale angularScale{182};
    ImplicitReturn implicitReturn = ImplicitReturn::safe;
    ValuelessReturn valuelessReturn = ValuelessReturn::push0;
    ArgumentOrder argumentOrder = ArgumentOrder::vm;

    bool operator==(const BosOptions&) const = default;
};

/// Options of which each may be left to somebody else.
struct BosOptionChoices {
    std::optional<Scale> linearScale;
    std::optional<Scale> angularScale;
    std::optional<ImplicitReturn> implicitReturn;
    std::optional<ValuelessReturn> valuelessReturn;
    std::optional<ArgumentOrder> argumentOrder;

    /// The choices made here, `fallback` for the others.
    BosOptions orElse(const BosOptions& fallback) const;
};

/// "safe", "compat" or "last-word", "push0" or "bare", "vm" or "source", and back.
std::string_view optionWord(ImplicitReturn value);
std::string_view optionWord(ValuelessReturn value);
std::string_view optionWord(ArgumentOrder value);
std::optional<ImplicitReturn> implicitReturnNamed(std::string_view word);
std::optional<ValuelessReturn> valuelessReturnNamed(std::string_view word);
std::optional<ArgumentOrder> argumentOrderNamed(std::string_view word);

/// The comment line that tells a source's options, such as
/// "// linear 163840, angular 182, arguments vm"; the two returns only where they are not default.
std::string settingsLine(const BosOptions& options);

/// What the settings line among a source's leading comment lines says; nothing without one.
BosOptionChoices readSettings(std::string_view source);

}  // namespace orb::unitview::bos
