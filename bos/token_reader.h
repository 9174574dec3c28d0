#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "bos/syntax_tree.h"
#include "bos/token.h"

namespace orb::unitview::bos {

/// Ends the statement that is being parsed; the mistake has been reported.
struct SyntaxError {};

/// Walks over the tokens of a source and reports what is expected but not there.
class TokenReader {
public:
    /// `tokens` ends in one of kind `end`; it and the list are borrowed, and ">=" may be split.
    TokenReader(std::span<Token> tokens, Program& program, DiagnosticList& diagnostics)
        : tokens_(tokens), program_(program), diagnostics_(diagnostics) {}

    const Token& current() const { return tokens_[next_]; }
    const Token& following() const { return tokens_[std::min(next_ + 1, tokens_.size() - 1)]; }
    bool atEnd() const { return current().kind == TokenKind::end; }
    std::size_t index() const { return next_; }
    DiagnosticList& diagnostics() { return diagnostics_; }

    /// The current token; the next one becomes current, except at the end.
    const Token& advance() {
        const Token& token = current();
        if (!atEnd()) ++next_;
        return token;
    }

    template <typename SymbolOrWord>
    bool accept(SymbolOrWord wanted) {
        if (!current().is(wanted)) return false;
        advance();
        return true;
    }
    /// A word that is reserved nowhere else, such as "to".
    bool acceptWord(std::string_view word);

    void expect(Symbol symbol, std::string_view shown);
    /// A name as declarations and references spell it; `what` is for the message.
    Name expectName(std::string_view what);
    std::uint8_t expectAxis();
    /// The ">" of an angle, also where it stands in front of "=".
    void expectAngleEnd();

    bool isName() const { return current().isPlainName() || current().kind == TokenKind::text; }

    /// "expected … but found …" at the current token.
    [[noreturn]] void failExpecting(std::string_view what);
    template <Problem problem, typename... Arguments>
    [[noreturn]] void fail(const SourcePosition& at, const Arguments&... arguments) {
        diagnostics_.report<problem>(at, arguments...);
        throw SyntaxError{};
    }

private:
    std::span<Token> tokens_;
    std::size_t next_ = 0;
    Program& program_;
    DiagnosticList& diagnostics_;
};

}  // namespace orb::unitview::bos
