#include "bos/lexer.h"

#include <algorithm>
#include <array>

namespace orb::unitview::bos {
namespace {

struct SymbolRow {
    std::string_view text;
    Symbol symbol;
};

// Longer ones first. There is no "<<": "a < <1.5>" may be written without its blanks.
constexpr auto kSymbols = std::to_array<SymbolRow>({
    {"++", Symbol::plusPlus},   {"--", Symbol::minusMinus},  {"==", Symbol::equal},
    {"!=", Symbol::notEqual},   {"<=", Symbol::lessOrEqual}, {">=", Symbol::greaterOrEqual},
    {"&&", Symbol::andAnd},     {"||", Symbol::orOr},        {"(", Symbol::parenOpen},
    {")", Symbol::parenClose},  {"{", Symbol::braceOpen},    {"}", Symbol::braceClose},
    {"[", Symbol::bracketOpen}, {"]", Symbol::bracketClose}, {",", Symbol::comma},
    {";", Symbol::semicolon},   {"#", Symbol::hash},         {"=", Symbol::assign},
    {"+", Symbol::plus},        {"-", Symbol::minus},        {"*", Symbol::star},
    {"/", Symbol::slash},       {"%", Symbol::percent},      {"|", Symbol::pipe},
    {"^", Symbol::caret},       {"&", Symbol::ampersand},    {"~", Symbol::tilde},
    {"!", Symbol::bang},        {"<", Symbol::less},         {">", Symbol::greater},
});

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

Marker markerIn(std::string_view comment) {
    const std::size_t end = comment.find_last_not_of(" \t");
    comment = comment.substr(0, end == std::string_view::npos ? 0 : end + 1);
    if (comment == "//@no-return") return Marker::noReturn;
    return comment == "//@raw" ? Marker::raw : Marker::none;
}

}  // namespace

SourcePosition Lexer::position() const {
    return {file_, line_, static_cast<std::uint32_t>(position_ - lineStart_ + 1),
            mainLine_ == 0 ? line_ : mainLine_};
}

Token Lexer::next() {
    for (;;) {
        skipBlanks(false);
        if (const auto token = readToken()) return *token;
    }
}

Token Lexer::nextOnLine() {
    while (skipBlanks(true))
        if (const auto token = readToken()) return *token;
    Token end;
    end.at = position();
    return end;
}

bool Lexer::skipToDirective() {
    for (;;) {
        skipBlanks(false);
        if (atEnd()) return false;
        const bool isDirective = startsLine_ && at(0) == '#';
        startsLine_ = false;
        ++position_;
        if (isDirective) return true;
        // The rest of the line, in which only comments count.
        while (!atEnd() && !atLineEnd() && at(0) != '/') ++position_;
    }
}

void Lexer::passLineEnd() {
    position_ += at(0) == '\r' && at(1) == '\n' ? 2 : 1;
    ++line_;
    lineStart_ = position_;
    startsLine_ = true;
}

/// Moves to the next token; false when asked to stop at a line's end and there is one, which is
/// passed only as a part of a comment.
bool Lexer::skipBlanks(bool stopAtLineEnd) {
    while (!atEnd()) {
        if (atLineEnd()) {
            if (stopAtLineEnd) return false;
            passLineEnd();
        } else if (at(0) == ' ' || at(0) == '\t' || at(0) == '\f' || at(0) == '\v') {
            ++position_;
        } else if (at(0) == '\\' && (at(1) == '\n' || at(1) == '\r')) {
            const bool startedLine = startsLine_;
            ++position_;
            passLineEnd();
            startsLine_ = startedLine;
        } else if (at(0) == '/' && at(1) == '/') {
            skipLineComment();
        } else if (at(0) == '/' && at(1) == '*') {
            const std::uint32_t line = line_;
            skipBlockComment();
            if (stopAtLineEnd && line_ != line) return false;
        } else {
            break;
        }
    }
    return !atEnd() || !stopAtLineEnd;
}

void Lexer::skipLineComment() {
    const std::size_t end = std::min(text_.find_first_of("\r\n", position_), text_.size());
    const Marker marker = markerIn(text_.substr(position_, end - position_));
    if (marker != Marker::none) marker_ = marker;
    position_ = end;
}

void Lexer::skipBlockComment() {
    const SourcePosition start = position();
    position_ += 2;
    while (!atEnd()) {
        if (at(0) == '*' && at(1) == '/') {
            position_ += 2;
            return;
        }
        if (atLineEnd()) {
            passLineEnd();
        } else {
            ++position_;
        }
    }
    diagnostics_.report<Problem::unterminatedComment>(start);
}

/// The token that begins here; none when no token does, which is reported and passed.
std::optional<Token> Lexer::readToken() {
    if (atEnd()) return take(TokenKind::end, 0);
    const char c = at(0);
    const std::string_view rest = text_.substr(position_);
    if (isNameStart(c)) {
        std::size_t length = 1;
        while (isNamePart(at(length))) ++length;
        if (at(length) == '-') length = std::max(length, hyphenatedWordLength(rest));
        Token token = take(TokenKind::name, length);
        token.word = wordOf(token.text);
        return token;
    }
    if (isDigit(c) || (c == '.' && isDigit(at(1)))) return take(TokenKind::number, numberLength());
    if (c == '"' && rest.find_first_of("\"\r\n", 1) != std::string_view::npos &&
        rest[rest.find_first_of("\"\r\n", 1)] == '"')
        return takeQuoted();
    for (const SymbolRow& row : kSymbols) {
        if (row.text.front() != c || !rest.starts_with(row.text)) continue;
        Token token = take(TokenKind::symbol, row.text.size());
        token.symbol = row.symbol;
        return token;
    }
    const SourcePosition where = position();
    ++position_;
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte < 0x7F) {
        diagnostics_.report<Problem::unexpectedCharacter>(where, c);
    } else {
        diagnostics_.report<Problem::unexpectedByte>(where, byte);
    }
    return std::nullopt;
}

Token Lexer::take(TokenKind kind, std::size_t length) {
    Token token;
    token.kind = kind;
    token.text = text_.substr(position_, length);
    token.at = position();
    token.startsLine = startsLine_;
    token.marker = marker_;
    startsLine_ = false;
    marker_ = Marker::none;
    position_ += length;
    return token;
}

Token Lexer::takeQuoted() {
    const std::size_t end = text_.find('"', position_ + 1);
    Token token = take(TokenKind::text, end + 1 - position_);
    token.text = token.text.substr(1, token.text.size() - 2);
    return token;
}

std::size_t Lexer::numberLength() const {
    std::size_t length = 0;
    if (at(0) == '0' && (at(1) == 'x' || at(1) == 'X') && isHexDigit(at(2))) {
        for (length = 2; isHexDigit(at(length));) ++length;
        return length;
    }
    while (isDigit(at(length))) ++length;
    if (at(length) == '.') ++length;
    while (isDigit(at(length))) ++length;
    return length;
}

}  // namespace orb::unitview::bos
