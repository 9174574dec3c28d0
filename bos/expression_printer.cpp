#include "bos/expression_printer.h"

#include <fmt/format.h>

#include "bos/constants.h"
#include "bos/invented_names.h"
#include "bos/operators.h"
#include "bos/quoted_name.h"

namespace orb::unitview::bos {
namespace {

constexpr int kUnaryLevel = 50;
constexpr int kAtomLevel = 100;
constexpr int kValueIdLevel = 101;     // a number that is the id of a unit value
constexpr std::size_t kGetValues = 5;  // the id and four arguments

bool isUnary(Op op) {
    return op == Op::logicalNot || op == Op::bitNot;
}

/// The styles of an operation's operands: a sum of lengths is made of lengths.
void operandStyles(Op op, ValueStyle style, std::vector<ValueStyle>& styles) {
    const bool isSum = op == Op::add || op == Op::sub || op == Op::rand;
    const bool isMeasure = style == ValueStyle::linear || style == ValueStyle::angular;
    const bool keeps = (isSum && isMeasure) || (op == Op::bitOr && style == ValueStyle::explosion);
    const ValueStyle inner = keeps ? style : ValueStyle::plain;
    if (op == Op::getUnitValue || op == Op::get) {
        styles.push_back(ValueStyle::unitValue);
        if (op == Op::get) styles.insert(styles.end(), kGetValues - 1, ValueStyle::plain);
    } else {
        styles.insert(styles.end(), isUnary(op) ? 1 : 2, inner);
    }
}

std::string inParens(const std::string& text) {
    return fmt::format("({})", text);
}

}  // namespace

std::string writtenName(const Name& name) {
    return name.isQuoted ? quotedName(name.text) : std::string(name.text);
}

bool ExpressionPrinter::isZero(const Expression& expression) const {
    const ExpressionItem& item = program_.items[expression.from];
    return expression.to == expression.from + 1 && item.kind == ExpressionItem::Kind::number &&
           item.number == 0;
}

std::string ExpressionPrinter::print(const Expression& expression, ValueStyle style) const {
    const std::vector<ValueStyle> styles = stylesOf(expression, style);
    std::vector<Piece> stack;
    for (std::uint32_t i = expression.from; i < expression.to; ++i) {
        const ExpressionItem& item = program_.items[i];
        if (item.kind == ExpressionItem::Kind::operation) {
            operation(item.op, stack);
        } else {
            stack.push_back(value(item, styles[i - expression.from]));
        }
    }
    if (style == ValueStyle::unitValue) return valueId(stack.back());
    return std::move(stack.back().text);
}

std::string ExpressionPrinter::valueId(const Piece& id) {
    return id.level == kValueIdLevel ? id.text : inParens(id.text);
}

/// Each item's style, from the last one, which is the outermost, back to the first.
std::vector<ValueStyle> ExpressionPrinter::stylesOf(const Expression& expression,
                                                    ValueStyle outermost) const {
    std::vector<ValueStyle> styles(expression.to - expression.from);
    std::vector<ValueStyle> pending = {outermost};
    for (std::uint32_t i = expression.to; i-- > expression.from;) {
        const ValueStyle style = pending.back();
        pending.pop_back();
        styles[i - expression.from] = style;
        const ExpressionItem& item = program_.items[i];
        if (item.kind == ExpressionItem::Kind::operation) operandStyles(item.op, style, pending);
    }
    return styles;
}

ExpressionPrinter::Piece ExpressionPrinter::value(const ExpressionItem& item,
                                                  ValueStyle style) const {
    if (item.kind == ExpressionItem::Kind::name)
        return {isPlainName(item.text) ? std::string(item.text) : quotedName(item.text),
                kAtomLevel};
    return {number(item.number, style),
            style == ValueStyle::unitValue ? kValueIdLevel : kAtomLevel};
}

std::string ExpressionPrinter::number(std::int32_t value, ValueStyle style) const {
    const auto bits = static_cast<std::uint32_t>(value);
    const std::uint32_t magnitude = value < 0 ? 0U - bits : bits;
    const char* const sign = value < 0 ? "-" : "";
    switch (style) {
        case ValueStyle::linear:
            return fmt::format("[{}{}]", sign, options_.linearScale.shortestDecimal(magnitude));
        case ValueStyle::angular:
            return fmt::format("<{}{}>", sign, options_.angularScale.shortestDecimal(magnitude));
        case ValueStyle::explosion:
            return named(explosionFlagName(value), value);
        case ValueStyle::unitValue: {
            const std::string_view name = agreedUnitValueName(value);
            const std::string shown = named(name, value);
            return shown == name ? shown : fmt::format("UNKNOWN_UNIT_VALUE({})", value);
        }
        default:
            return fmt::format("{}", value);
    }
}

/// The name when it means the value in this file, else the number.
std::string ExpressionPrinter::named(std::string_view name, std::int32_t value) const {
    if (!name.empty() && scope_.meaningOf(name).kind == Meaning::Kind::constant)
        return std::string(name);
    return fmt::format("{}", value);
}

void ExpressionPrinter::operation(Op op, std::vector<Piece>& stack) const {
    if (op == Op::get) return getValue(stack);
    Piece last = std::move(stack.back());
    if (op == Op::getUnitValue) {
        stack.back() = {"get " + valueId(last), kAtomLevel};
        return;
    }
    if (isUnary(op)) {
        const std::string operand = last.level < kUnaryLevel ? inParens(last.text) : last.text;
        stack.back() = {(op == Op::bitNot ? "~" : "!") + operand, kUnaryLevel};
        return;
    }
    stack.pop_back();
    Piece& first = stack.back();
    if (op == Op::rand) {
        first = {fmt::format("rand({}, {})", first.text, last.text), kAtomLevel};
        return;
    }
    const BinaryOperator& row = *binaryOperator(op);
    if (first.level < row.level) first.text = inParens(first.text);
    first.text += ' ';
    first.text += row.text;
    first.text += ' ';
    first.text += last.level <= row.level ? inParens(last.text) : last.text;
    first.level = row.level;
}

/// The id and its arguments without trailing zeros; one always stays.
void ExpressionPrinter::getValue(std::vector<Piece>& stack) const {
    const std::size_t id = stack.size() - kGetValues;
    std::size_t shown = kGetValues - 1;
    while (shown > 1 && stack[id + shown].text == "0") --shown;
    std::string text = fmt::format("get {}(", valueId(stack[id]));
    for (std::size_t i = 1; i <= shown; ++i) text += (i > 1 ? ", " : "") + stack[id + i].text;
    stack.resize(id);
    stack.push_back({text + ')', kAtomLevel});
}

}  // namespace orb::unitview::bos
