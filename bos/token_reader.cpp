#include "bos/token_reader.h"

#include <fmt/format.h>

#include "bos/quoted_name.h"
#include "io/ascii.h"

namespace orb::unitview::bos {

bool TokenReader::acceptWord(std::string_view word) {
    if (current().kind != TokenKind::name || !io::equalsIgnoringCase(current().text, word))
        return false;
    advance();
    return true;
}

void TokenReader::expect(Symbol symbol, std::string_view shown) {
    if (!accept(symbol)) failExpecting(fmt::format("'{}'", shown));
}

Name TokenReader::expectName(std::string_view what) {
    if (!isName()) failExpecting(what);
    const Token& token = advance();
    if (token.kind != TokenKind::text) return {token.text, token.at, false};
    return {program_.ownTexts.emplace_back(nameInQuotes(token.text)), token.at, true};
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
    if (atEnd()) fail<Problem::expectedAtFileEnd>(current().at, what);
    fail<Problem::expected>(current().at, what, current().text);
}

}  // namespace orb::unitview::bos
