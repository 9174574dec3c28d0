#pragma once

#include <cstdint>
#include <string_view>

#include "bos/diagnostics.h"
#include "bos/words.h"

namespace orb::unitview::bos {

enum class TokenKind : std::uint8_t {
    end,     ///< of the text, or of the line where a line is read
    name,    ///< a name or one of the language's words
    number,  ///< digits, with a point or hexadecimal
    text,    ///< in double quotes
    symbol,
};

enum class Symbol : std::uint8_t {
    none,
    parenOpen,
    parenClose,
    braceOpen,
    braceClose,
    bracketOpen,
    bracketClose,
    comma,
    semicolon,
    hash,
    assign,
    plusPlus,
    minusMinus,
    plus,
    minus,
    star,
    slash,
    percent,
    pipe,
    caret,
    ampersand,
    tilde,
    bang,
    equal,
    notEqual,
    less,
    lessOrEqual,
    greater,
    greaterOrEqual,
    andAnd,
    orOr,
};

/// Comments that tell the compiler something; they belong to the token behind them.
enum class Marker : std::uint8_t {
    none,
    noReturn,  ///< "//@no-return": the closing brace adds no return
    raw,       ///< "//@raw": the script consists of its statements' words only
};

struct Token {
    TokenKind kind = TokenKind::end;
    Symbol symbol = Symbol::none;
    Word word = Word::none;
    Marker marker = Marker::none;
    bool startsLine = false;
    /// As written, a quoted text without its quotes; borrowed from the source.
    std::string_view text;
    SourcePosition at;

    bool is(Symbol wanted) const { return symbol == wanted; }
    bool is(Word wanted) const { return word == wanted; }
    bool isPlainName() const { return kind == TokenKind::name && word == Word::none; }
    bool isPointNumber() const {
        return kind == TokenKind::number && text.find('.') != std::string_view::npos;
    }
};

}  // namespace orb::unitview::bos
