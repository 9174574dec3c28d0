#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bos/diagnostics.h"
#include "bos/statement_forms.h"

/// A source text's meaning before names have theirs, and what the disassembler makes of bytecode.
namespace orb::unitview::bos {

/// A name as spelt, borrowed.
struct Name {
    std::string_view text;
    SourcePosition at;
    /// Written in quotes: any bytes, and it may be declared twice.
    bool isQuoted = false;
};

/// One step of an expression in the order of evaluation: a value, or an operation on the values
/// before it. This is the order of the code, too.
struct ExpressionItem {
    enum class Kind : std::uint8_t {
        number,
        linear,   ///< `text` is the decimal in [ ]
        angular,  ///< `text` is the decimal in < >
        name,     ///< `text` is the name of a local, static, piece or constant
        operation,
    };
    Kind kind = Kind::number;
    Op op = Op::unknown;
    bool isNegative = false;  ///< of linear and angular
    std::int32_t number = 0;
    std::string_view text;
    SourcePosition at;
};

/// A part of Program::items, never empty.
struct Expression {
    std::uint32_t from = 0;
    std::uint32_t to = 0;
};

/// A word of code as it is, or one that counts from the script's entry.
struct CodeWord {
    std::uint32_t value = 0;
    bool isRelative = false;
};

struct Statement {
    enum class Kind : std::uint8_t {
        empty,
        block,     ///< body
        locals,    ///< names
        assign,    ///< names[0], values[0]
        simple,    ///< op, names[0] the piece, axis, values in the order they are pushed
        start,     ///< op, names[0] the script, values in the order of the source
        ret,       ///< values[0] unless it has none
        branch,    ///< values[0], body, otherwise
        loop,      ///< values[0] unless it is endless; body
        rawWords,  ///< words
    };
    Kind kind = Kind::empty;
    Op op = Op::unknown;
    std::uint8_t axis = 0;
    bool hasElse = false;
    SourcePosition at;
    SourcePosition elseAt;
    std::vector<Name> names;
    std::vector<Expression> values;
    std::vector<Statement> body;
    std::vector<Statement> otherwise;
    std::vector<CodeWord> words;
};

struct Script {
    Name name;
    std::vector<Name> parameters;
    std::vector<Statement> body;
    SourcePosition end;  ///< of the closing brace
    bool suppressesReturn = false;
    bool isRaw = false;  ///< only rawWords in its body, and nothing is added to them
    /// Text of the compiler's makers behind the code, which is not compiled.
    std::string trailingText;
};

struct Program {
    std::vector<Name> pieces;
    std::vector<Name> statics;
    std::vector<Script> scripts;
    std::vector<ExpressionItem> items;
    /// What names borrow from where it is not the source.
    std::deque<std::string> ownTexts;
    std::vector<std::unique_ptr<const std::string>> sources;
};

/// How deep statements and expressions may nest.
inline constexpr int kMaxStatementNesting = 256;
inline constexpr int kMaxExpressionNesting = 128;

}  // namespace orb::unitview::bos
