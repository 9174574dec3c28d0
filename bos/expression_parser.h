#pragma once

#include "bos/token_reader.h"

namespace orb::unitview::bos {

/// Parses expressions into the program's items, in the order of evaluation.
class ExpressionParser {
public:
    ExpressionParser(TokenReader& reader, Program& program) : reader_(reader), program_(program) {}

    Expression expression();
    /// What stands behind "get" and "set": a name, a number, or any expression in parentheses.
    Expression valueId();
    /// A value that the source leaves out.
    Expression zero(const SourcePosition& at);
    /// target + 1 or target - 1.
    Expression incremented(const Name& target, Op op);

private:
    void binary(int level);
    void unary();
    void primary();
    void number(const Token& token, bool isNegative);
    void bracketed(const Token& open, bool isNegative);
    void parenthesised();
    void getValue(const Token& get);
    void valueIdItems();
    int arguments(int most, const SourcePosition& at);
    std::uint32_t mark() const { return static_cast<std::uint32_t>(program_.items.size()); }
    void addNumber(std::int32_t value, const SourcePosition& at);
    void addOperation(Op op, const SourcePosition& at);

    TokenReader& reader_;
    Program& program_;
    int nesting_ = 0;
};

}  // namespace orb::unitview::bos
