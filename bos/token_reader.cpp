#include "bos/token_reader.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "io/ascii.h"

namespace orb::unitview::bos {
namespace {

bool needsEscape(char c) {
    return c < ' ' || c > '~' || c == '"' || c == '\\';
}

}  // namespace

bool TokenReader::acceptWord(std::string_view word) {
    if (current().kind != TokenKind::name || !io::equalsIgnoringCase(current().text, word))
        return false;
    advance();
    return true;
}

void TokenReader::expect(Symbol symbol, std::string_view shown) {
    if (!accept(symbol)) failExpecting(fmt::format("'{}'", shown));
}

void TokenReader::expectWord(std::string_view word) {
    if (!acceptWord(word)) failExpecting(fmt::format("'{}'", word));
}

Name TokenReader::expectName(std::string_view what) {
    if (!isName()) failExpecting(what);
    const Token& token = advance();
    const bool isQuoted = token.kind == TokenKind::text;
    return {isQuoted ? unescaped(token.text) : token.text, token.at, isQuoted};
}

std::uint8_t TokenReader::expectAxis() {
    if (accept(Word::xAxis)) return 0;
    if (accept(Word::yAxis)) return 1;
    if (accept(Word::zAxis)) return 2;
    failExpecting("an axis");
}

void TokenReader::expectAngleEnd() {
    if (accept(Symbol::greater)) return;
    if (!current().is(Symbol::greaterOrEqual)) failExpecting("'>'");
    // "<10>==x" was read as "<10", ">=", "=", "x".
    Token& token = tokens_[next_];
    const Token& behind = following();
    if (behind.is(Symbol::assign) && behind.at.line == token.at.line &&
        behind.at.column == token.at.column + 2) {
        ++next_;
        tokens_[next_].symbol = Symbol::equal;
        tokens_[next_].text = "==";
        return;
    }
    token.symbol = Symbol::assign;
    token.text = "=";
}

void TokenReader::failExpecting(std::string_view what) {
    fail(current().at, "E08",
         atEnd() ? fmt::format("expected {} but found the end of the file", what)
                 : fmt::format("expected {} but found '{}'", what, current().text));
}

void TokenReader::fail(const SourcePosition& at, const char* code, std::string message) {
    diagnostics_.error(at, code, std::move(message));
    throw SyntaxError{};
}

std::string_view TokenReader::unescaped(std::string_view quoted) {
    if (quoted.find('\\') == std::string_view::npos) return quoted;
    std::string name;
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        unsigned char code = 0;
        const std::string_view digits = quoted.substr(std::min(i + 2, quoted.size()), 2);
        const char* const end = digits.data() + digits.size();
        if (quoted.substr(i, 2) == "\\x" && digits.size() == 2 &&
            std::from_chars(digits.data(), end, code, 16).ptr == end) {
            name += static_cast<char>(code);
            i += 3;
        } else {
            name += quoted[i];
        }
    }
    return program_.ownTexts.emplace_back(std::move(name));
}

std::string quotedName(std::string_view name) {
    std::string text = "\"";
    for (const char c : name) {
        if (needsEscape(c)) {
            text += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
        } else {
            text += c;
        }
    }
    return text + '"';
}

}  // namespace orb::unitview::bos
