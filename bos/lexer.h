#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bos/diagnostics.h"
#include "bos/token.h"

namespace orb::unitview::bos {

/// Cuts one source text into tokens. Lines end with LF, CR LF or CR; a backslash before the end of
/// a line joins it with the next.
class Lexer {
public:
    /// Borrows text and list; a byte order mark at the front is no part of the text. `mainLine` 0:
    /// the text is the main source, else the line of the main source that includes it.
    Lexer(std::string_view text, std::uint32_t file, std::uint32_t mainLine,
          DiagnosticList& diagnostics)
        : text_(text), file_(file), mainLine_(mainLine), diagnostics_(diagnostics) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (text_.starts_with(kByteOrderMark)) text_.remove_prefix(kByteOrderMark.size());
    }

    /// The next token, on whichever line; kind `end` at the end of the text.
    Token next();

    /// The next token of the current line, kind `end` behind its last one.
    Token nextOnLine();

    /// Leaves out lines, without looking for tokens in them, up to one that begins with "#", and
    /// stands behind the "#" then. False at the end of the text.
    bool skipToDirective();

    SourcePosition position() const;

private:
    char at(std::size_t offset) const {
        return position_ + offset < text_.size() ? text_[position_ + offset] : '\0';
    }
    bool atEnd() const { return position_ >= text_.size(); }
    bool atLineEnd() const { return at(0) == '\n' || at(0) == '\r'; }
    void passLineEnd();
    bool skipBlanks(bool stopAtLineEnd);
    void skipLineComment();
    void skipBlockComment();
    std::optional<Token> readToken();
    Token take(TokenKind kind, std::size_t length);
    Token takeQuoted();
    std::size_t numberLength() const;

    std::string_view text_;
    std::size_t position_ = 0;
    std::size_t lineStart_ = 0;
    std::uint32_t line_ = 1;
    std::uint32_t file_;
    std::uint32_t mainLine_;
    bool startsLine_ = true;
    Marker marker_ = Marker::none;
    DiagnosticList& diagnostics_;
};

}  // namespace orb::unitview::bos
