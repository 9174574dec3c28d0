#pragma once

#include <array>

#include "bos/token.h"
#include "cob/opcodes.h"

/// The binary operators, shared by parser, preprocessor and printer.
namespace orb::unitview::bos {

struct BinaryOperator {
    Symbol symbol;  ///< none for one that is only a word
    Word word;      ///< none for one that is only a symbol
    Op op;
    int level;              ///< higher binds tighter; all associate to the left
    std::string_view text;  ///< as the disassembler writes it
};

inline constexpr int kLowestLevel = 1;
inline constexpr auto kBinaryOperators = std::to_array<BinaryOperator>({
    {Symbol::orOr, Word::orWord, Op::logicalOr, 1, "OR"},
    {Symbol::none, Word::xorWord, Op::logicalXor, 2, "XOR"},
    {Symbol::andAnd, Word::andWord, Op::logicalAnd, 3, "AND"},
    {Symbol::pipe, Word::none, Op::bitOr, 4, "|"},
    {Symbol::caret, Word::none, Op::bitXor, 5, "^"},
    {Symbol::ampersand, Word::none, Op::bitAnd, 6, "&"},
    {Symbol::equal, Word::none, Op::equal, 7, "=="},
    {Symbol::notEqual, Word::none, Op::notEqual, 7, "!="},
    {Symbol::less, Word::none, Op::less, 8, "<"},
    {Symbol::lessOrEqual, Word::none, Op::lessOrEqual, 8, "<="},
    {Symbol::greater, Word::none, Op::greater, 8, ">"},
    {Symbol::greaterOrEqual, Word::none, Op::greaterOrEqual, 8, ">="},
    {Symbol::plus, Word::none, Op::add, 9, "+"},
    {Symbol::minus, Word::none, Op::sub, 9, "-"},
    {Symbol::star, Word::none, Op::mul, 10, "*"},
    {Symbol::slash, Word::none, Op::div, 10, "/"},
});

/// The operator that a token is, or null.
inline const BinaryOperator* binaryOperator(const Token& token) {
    if (token.symbol == Symbol::none && token.word == Word::none) return nullptr;
    for (const BinaryOperator& row : kBinaryOperators) {
        const bool bySymbol = token.symbol != Symbol::none && token.symbol == row.symbol;
        if (bySymbol || (token.word != Word::none && token.word == row.word)) return &row;
    }
    return nullptr;
}

/// The operator that is compiled to `op`, or null.
inline const BinaryOperator* binaryOperator(Op op) {
    for (const BinaryOperator& row : kBinaryOperators)
        if (row.op == op) return &row;
    return nullptr;
}

}  // namespace orb::unitview::bos
