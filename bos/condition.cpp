#include "bos/condition.h"

#include "bos/integer_literal.h"
#include "bos/operators.h"

namespace orb::unitview::bos {
namespace {

constexpr int kMaxNesting = 64;

/// Ends the evaluation; it has been reported.
struct BadCondition {};

std::uint64_t flag(bool value) {
    return value ? 1 : 0;
}

class Evaluator {
public:
    Evaluator(std::span<const Token> tokens, const SourcePosition& at, DiagnosticList& diagnostics)
        : tokens_(tokens), at_(at), diagnostics_(diagnostics) {}

    bool run() {
        const std::uint64_t value = binary(kLowestLevel);
        if (next_ < tokens_.size()) fail("the end of the line");
        return value != 0;
    }

private:
    // Signed numbers are kept as their two's complement, so that arithmetic wraps.
    std::uint64_t binary(int level) {
        std::uint64_t left = unary();
        while (next_ < tokens_.size()) {
            const BinaryOperator* const found = binaryOperator(tokens_[next_]);
            if (!found || found->level < level) break;
            ++next_;
            const std::uint64_t right = binary(found->level + 1);
            left = apply(found->op, left, right);
        }
        return left;
    }

    std::uint64_t unary() {
        if (next_ == tokens_.size()) fail("an expression");
        if (++nesting_ > kMaxNesting) fail("a simpler expression");
        const Token& token = tokens_[next_++];
        const std::uint64_t value = operand(token);
        --nesting_;
        return value;
    }

    std::uint64_t operand(const Token& token) {
        if (token.kind == TokenKind::number && !token.isPointNumber())
            return integerValue(token.text);
        if (token.is(Symbol::bang) || token.is(Word::notWord)) return flag(unary() == 0);
        if (token.is(Symbol::minus)) return 0 - unary();
        if (token.is(Symbol::plus)) return unary();
        if (token.is(Symbol::tilde)) return ~unary();
        if (token.is(Symbol::parenOpen)) {
            const std::uint64_t value = binary(kLowestLevel);
            if (next_ == tokens_.size() || !tokens_[next_].is(Symbol::parenClose)) fail("')'");
            ++next_;
            return value;
        }
        if (token.is(Word::trueWord)) return 1;
        if (token.kind == TokenKind::name) return 0;
        --next_;
        fail("an expression");
    }

    std::uint64_t apply(Op op, std::uint64_t left, std::uint64_t right) {
        const auto a = static_cast<std::int64_t>(left);
        const auto b = static_cast<std::int64_t>(right);
        switch (op) {
            case Op::logicalOr:
                return flag(left != 0 || right != 0);
            case Op::logicalXor:
                return flag((left != 0) != (right != 0));
            case Op::logicalAnd:
                return flag(left != 0 && right != 0);
            case Op::bitOr:
                return left | right;
            case Op::bitXor:
                return left ^ right;
            case Op::bitAnd:
                return left & right;
            case Op::equal:
                return flag(left == right);
            case Op::notEqual:
                return flag(left != right);
            case Op::less:
                return flag(a < b);
            case Op::lessOrEqual:
                return flag(a <= b);
            case Op::greater:
                return flag(a > b);
            case Op::greaterOrEqual:
                return flag(a >= b);
            case Op::add:
                return left + right;
            case Op::sub:
                return left - right;
            case Op::mul:
                return left * right;
            default:
                return divide(a, b);
        }
    }

    std::uint64_t divide(std::int64_t a, std::int64_t b) {
        if (b == 0) fail("a divisor other than 0");
        if (b == -1) return 0 - static_cast<std::uint64_t>(a);
        return static_cast<std::uint64_t>(a / b);
    }

    [[noreturn]] void fail(std::string_view expected) {
        if (next_ >= tokens_.size()) {
            diagnostics_.report<Problem::expectedAtLineEnd>(at_, expected);
        } else {
            const Token& found = tokens_[next_];
            diagnostics_.report<Problem::expected>(found.at, expected, found.text);
        }
        throw BadCondition{};
    }

    std::span<const Token> tokens_;
    SourcePosition at_;
    DiagnosticList& diagnostics_;
    std::size_t next_ = 0;
    int nesting_ = 0;
};

}  // namespace

bool evaluateCondition(std::span<const Token> expression, const SourcePosition& at,
                       DiagnosticList& diagnostics) {
    try {
        return Evaluator(expression, at, diagnostics).run();
    } catch (const BadCondition&) {
        return false;
    }
}

}  // namespace orb::unitview::bos
