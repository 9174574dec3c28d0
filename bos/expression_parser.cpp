#include "bos/expression_parser.h"

#include <limits>

#include "bos/integer_literal.h"
#include "bos/operators.h"

namespace orb::unitview::bos {
namespace {

/// Values that the instruction behind `get` with arguments takes beside the id.
constexpr int kGetArguments = 4;
constexpr std::uint64_t kMaxNumber = std::numeric_limits<std::uint32_t>::max();

/// Restores the nesting, whatever ends the scope.
class Nesting {
public:
    explicit Nesting(int& depth) : depth_(depth) { ++depth_; }
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    int& depth_;
};

}  // namespace

Expression ExpressionParser::expression() {
    const std::uint32_t from = mark();
    binary(kLowestLevel);
    return {from, mark()};
}

Expression ExpressionParser::valueId() {
    const std::uint32_t from = mark();
    valueIdItems();
    return {from, mark()};
}

Expression ExpressionParser::zero(const SourcePosition& at) {
    const std::uint32_t from = mark();
    addNumber(0, at);
    return {from, mark()};
}

Expression ExpressionParser::incremented(const Name& target, Op op) {
    const std::uint32_t from = mark();
    program_.items.push_back(
        {ExpressionItem::Kind::name, Op::unknown, false, 0, target.text, target.at});
    addNumber(1, target.at);
    addOperation(op, target.at);
    return {from, mark()};
}

void ExpressionParser::binary(int level) {
    unary();
    for (;;) {
        const Token& token = reader_.current();
        if (token.is(Symbol::percent)) reader_.fail<Problem::remainderOperator>(token.at);
        const BinaryOperator* const found = binaryOperator(token);
        if (!found || found->level < level) return;
        const SourcePosition at = reader_.advance().at;
        binary(found->level + 1);
        addOperation(found->op, at);
    }
}

void ExpressionParser::unary() {
    // Prefixes in a loop, so that a row of them needs no nesting.
    std::vector<std::pair<Op, SourcePosition>> prefixes;
    for (;;) {
        const Token& token = reader_.current();
        if (token.is(Symbol::bang) || token.is(Word::notWord)) {
            prefixes.emplace_back(Op::logicalNot, token.at);
        } else if (token.is(Symbol::tilde)) {
            prefixes.emplace_back(Op::bitNot, token.at);
        } else if (token.is(Symbol::minus)) {
            const Token& operand = reader_.following();
            if (operand.kind == TokenKind::number || operand.is(Symbol::bracketOpen) ||
                operand.is(Symbol::less))
                break;
            addNumber(0, token.at);
            prefixes.emplace_back(Op::sub, token.at);
        } else {
            break;
        }
        reader_.advance();
    }
    primary();
    for (; !prefixes.empty(); prefixes.pop_back())
        addOperation(prefixes.back().first, prefixes.back().second);
}

void ExpressionParser::primary() {
    const Nesting nesting(nesting_);
    if (nesting_ > kMaxExpressionNesting)
        reader_.fail<Problem::expressionsTooDeep>(reader_.current().at);
    const bool isNegative = reader_.accept(Symbol::minus);
    if (reader_.isName()) {
        const Name name = reader_.expectName("a name");
        program_.items.push_back(
            {ExpressionItem::Kind::name, Op::unknown, false, 0, name.text, name.at});
        return;
    }
    const Token& token = reader_.current();
    if (token.kind == TokenKind::number) return number(reader_.advance(), isNegative);
    if (token.is(Symbol::bracketOpen) || token.is(Symbol::less))
        return bracketed(reader_.advance(), isNegative);
    if (reader_.accept(Symbol::parenOpen)) return parenthesised();
    if (reader_.accept(Word::trueWord)) return addNumber(1, token.at);
    if (reader_.accept(Word::falseWord)) return addNumber(0, token.at);
    if (reader_.accept(Word::get)) return getValue(token);
    if (!reader_.accept(Word::rand)) reader_.failExpecting("an expression");
    reader_.expect(Symbol::parenOpen, "(");
    binary(kLowestLevel);
    reader_.expect(Symbol::comma, ",");
    binary(kLowestLevel);
    reader_.expect(Symbol::parenClose, ")");
    addOperation(Op::rand, token.at);
}

void ExpressionParser::number(const Token& token, bool isNegative) {
    if (token.isPointNumber()) reader_.fail<Problem::unscaledDecimal>(token.at);
    const std::uint64_t value = integerValue(token.text);
    constexpr std::uint64_t kMostNegative = kMaxNumber / 2 + 1;
    if (value > (isNegative ? kMostNegative : kMaxNumber))
        reader_.fail<Problem::numberOutOfRange>(token.at);
    const auto word = static_cast<std::uint32_t>(value);
    addNumber(static_cast<std::int32_t>(isNegative ? 0U - word : word), token.at);
}

void ExpressionParser::bracketed(const Token& open, bool isNegative) {
    const bool isLinear = open.is(Symbol::bracketOpen);
    if (reader_.accept(Symbol::minus)) {
        isNegative = !isNegative;
    } else {
        reader_.accept(Symbol::plus);
    }
    const Token& digits = reader_.current();
    const bool isDecimal = digits.text.find_first_of("xX") == std::string_view::npos;
    if (digits.kind != TokenKind::number || !isDecimal) reader_.failExpecting("a number");
    reader_.advance();
    program_.items.push_back(
        {isLinear ? ExpressionItem::Kind::linear : ExpressionItem::Kind::angular, Op::unknown,
         isNegative, 0, digits.text, open.at});
    if (isLinear) {
        reader_.expect(Symbol::bracketClose, "]");
    } else {
        reader_.expectAngleEnd();
    }
}

void ExpressionParser::parenthesised() {
    binary(kLowestLevel);
    reader_.expect(Symbol::parenClose, ")");
}

void ExpressionParser::getValue(const Token& get) {
    valueIdItems();
    if (!reader_.current().is(Symbol::parenOpen)) return addOperation(Op::getUnitValue, get.at);
    reader_.advance();
    for (int count = arguments(kGetArguments, get.at); count < kGetArguments; ++count)
        addNumber(0, get.at);
    addOperation(Op::get, get.at);
}

/// One to `most` arguments and the closing parenthesis; how many there are.
int ExpressionParser::arguments(int most, const SourcePosition& at) {
    int count = 0;
    do {
        if (++count > most) reader_.fail<Problem::tooManyGetArguments>(at);
        binary(kLowestLevel);
    } while (reader_.accept(Symbol::comma));
    reader_.expect(Symbol::parenClose, ")");
    return count;
}

void ExpressionParser::valueIdItems() {
    const Token& token = reader_.current();
    if (reader_.accept(Word::unknownUnitValue)) {
        reader_.expect(Symbol::parenOpen, "(");
        return parenthesised();
    }
    const bool isOperand =
        reader_.isName() || token.kind == TokenKind::number || token.is(Symbol::parenOpen);
    if (!isOperand) reader_.failExpecting("a unit value");
    primary();
}

void ExpressionParser::addNumber(std::int32_t value, const SourcePosition& at) {
    program_.items.push_back({ExpressionItem::Kind::number, Op::unknown, false, value, {}, at});
}

void ExpressionParser::addOperation(Op op, const SourcePosition& at) {
    program_.items.push_back({ExpressionItem::Kind::operation, op, false, 0, {}, at});
}

}  // namespace orb::unitview::bos
