#include "bos/script_decoder.h"

#include <algorithm>
#include <iterator>

#include "bos/operators.h"

namespace orb::unitview::bos {
namespace {

/// Below what the parser takes: a branch and its block count there one each.
constexpr int kMaxNesting = 100;

/// The code has no structure; the script is given up.
struct Unstructured {};

bool leavesValue(Op op, const OpcodeRow& row) {
    return row.pushes == 1 && op != Op::call;
}

}  // namespace

ScriptDecoder::ScriptDecoder(DecodingContext& context, const ScriptRange& range,
                             std::string_view name)
    : context_(context), range_(range), name_(name), end_(codeEnd(context.cob, range)) {}

bool ScriptDecoder::decode(Script& script) {
    try {
        scan();
        const std::uint32_t from = parameters(script);
        statements(from, end_, 0, script.body);
    } catch (const Unstructured&) {
        return false;
    }
    for (std::uint32_t pc = end_; pc < range_.to; ++pc)
        for (std::uint32_t bits = wordAt(pc), i = 0; i < 4; ++i, bits >>= 8)
            if ((bits & 0xFFU) != 0) script.trailingText += static_cast<char>(bits & 0xFFU);
    return true;
}

/// Finds instructions and targets, and where trailing text begins.
void ScriptDecoder::scan() {
    marks_.assign(range_.size() + 1, {});
    std::uint32_t pc = range_.from;
    while (pc < end_) {
        const Op op = opAt(pc);
        const OpcodeRow& row = opcodeRow(op);
        if (op == Op::unknown || row.length() > end_ - pc) throw Unstructured{};
        marks_[pc - range_.from].isStart = true;
        if (row.isJump()) noteTarget(pc, row);
        pc += static_cast<std::uint32_t>(row.length());
    }
    marks_[end_ - range_.from].isStart = true;
    for (std::size_t i = end_ - range_.from + 1; i < marks_.size(); ++i)
        if (marks_[i].isTarget) throw Unstructured{};
}

void ScriptDecoder::noteTarget(std::uint32_t pc, const OpcodeRow& row) {
    const std::uint32_t target = wordAt(pc + 1);
    if (target < range_.from || target > range_.to) throw Unstructured{};
    Mark& mark = marks_[target - range_.from];
    mark.isTarget = true;
    if (row.flow == Flow::branch) mark.branch = pc + 1;
}

/// Takes the locals created first for parameters; returns where the body begins.
std::uint32_t ScriptDecoder::parameters(Script& script) {
    std::uint32_t pc = range_.from;
    while (pc < end_ && opAt(pc) == Op::createLocal && !marks_[pc - range_.from].isTarget) {
        if (pc + 1 < end_ && opAt(pc + 1) == Op::ret) break;
        ++pc;
        locals_.push_back(
            context_.program.ownTexts.emplace_back(context_.names.local(name_, locals_.size())));
        script.parameters.push_back({locals_.back(), {}});
    }
    return pc;
}

/// Returns how deep the statements nest.
int ScriptDecoder::statements(std::uint32_t from, std::uint32_t limit, int nesting,
                              std::vector<Statement>& result) {
    if (nesting > kMaxNesting) throw Unstructured{};
    OpenBlock open{result, limit, nesting};
    open.start = from;
    while (from < limit) {
        if (open.stack.empty()) {
            open.start = from;
            open.needsRaw = false;
        }
        from = instruction(open, from);
    }
    if (from != limit || !open.stack.empty()) throw Unstructured{};
    return open.depths.empty() ? 0 : *std::ranges::max_element(open.depths);
}

/// Takes in one instruction; returns where to go on.
std::uint32_t ScriptDecoder::instruction(OpenBlock& open, std::uint32_t pc) {
    const Op op = opAt(pc);
    const OpcodeRow& row = opcodeRow(op);
    const std::uint32_t next = pc + static_cast<std::uint32_t>(row.length());
    if (next > open.limit) throw Unstructured{};
    if (leavesValue(op, row)) {
        pushValue(open, pc, row);
    } else if (op == Op::jumpIfZero) {
        return branch(open, pc);
    } else if (op == Op::jump) {
        if (!open.stack.empty()) throw Unstructured{};
        endlessLoop(open, wordAt(pc + 1));
    } else if (op == Op::createLocal) {
        if (!open.stack.empty()) throw Unstructured{};
        return createLocal(open, pc);
    } else {
        statement(open, pc, row);
    }
    return next;
}

void ScriptDecoder::pushValue(OpenBlock& open, std::uint32_t pc, const OpcodeRow& row) {
    const auto pops = static_cast<std::size_t>(std::max<int>(row.pops, 0));
    if (open.stack.size() < pops) throw Unstructured{};
    const std::size_t rest = open.stack.size() - pops;
    Value result{pc, pc + static_cast<std::uint32_t>(row.length()), row.op, 0};
    for (std::size_t i = rest; i < open.stack.size(); ++i) {
        const Value& operand = open.stack[i];
        result.from = std::min(result.from, operand.from);
        // a + b + c needs no parentheses
        const bool isChain = i == rest && operand.op == row.op && binaryOperator(row.op);
        result.nesting = std::max(result.nesting, operand.nesting + (isChain ? 0 : 1));
    }
    open.stack.resize(rest);
    open.stack.push_back(result);
    if (result.nesting > kMaxNesting) open.needsRaw = true;
    if (row.op == Op::pushLocal && wordAt(pc + 1) >= locals_.size()) open.needsRaw = true;
    if (row.op == Op::pushStatic && wordAt(pc + 1) >= context_.program.statics.size())
        open.needsRaw = true;
}

/// A branch over a part of the code: the jump in front of its target tells a loop or an else. That
/// jump belongs to the last branch with this target; others end there as well.
std::uint32_t ScriptDecoder::branch(OpenBlock& open, std::uint32_t pc) {
    const std::uint32_t next = pc + 2;
    const std::uint32_t target = wordAt(pc + 1);
    if (open.stack.size() != 1 || open.needsRaw || target < next || target > open.limit ||
        !isStart(target))
        throw Unstructured{};
    Statement result = begin(Statement::Kind::branch);
    result.values.push_back(expression(open.stack[0]));
    open.stack.clear();

    const std::uint32_t start = open.start;
    const bool hasJump = target >= next + 2 && isStart(target - 2) &&
                         opAt(target - 2) == Op::jump &&
                         marks_[target - range_.from].branch == pc + 1;
    const std::uint32_t jumpsTo = hasJump ? wordAt(target - 1) : 0;
    std::uint32_t end = target;
    int depth = 0;
    if (hasJump && jumpsTo == start) {
        result.kind = Statement::Kind::loop;
        depth = statements(next, target - 2, open.nesting + 1, result.body);
    } else if (hasJump && jumpsTo >= target && jumpsTo <= open.limit && isStart(jumpsTo)) {
        depth = std::max(statements(next, target - 2, open.nesting + 1, result.body),
                         statements(target, jumpsTo, open.nesting + 1, result.otherwise));
        result.hasElse = true;
        end = jumpsTo;
    } else {
        depth = statements(next, target, open.nesting + 1, result.body);
    }
    open.start = start;
    add(open, std::move(result), depth + 1);
    return end;
}

/// A jump back to a statement of this block makes everything since then a loop without condition.
void ScriptDecoder::endlessLoop(OpenBlock& open, std::uint32_t target) {
    const auto found = std::ranges::lower_bound(open.starts, target);
    Statement loop = begin(Statement::Kind::loop);
    int depth = 0;
    if (found != open.starts.end() && *found == target) {
        const auto place = found - open.starts.begin();
        const auto first = open.statements.begin() + place;
        loop.body.assign(std::make_move_iterator(first),
                         std::make_move_iterator(open.statements.end()));
        depth = *std::max_element(open.depths.begin() + place, open.depths.end());
        if (open.nesting + depth > kMaxNesting) throw Unstructured{};
        open.statements.erase(first, open.statements.end());
        open.starts.erase(found, open.starts.end());
        open.depths.erase(open.depths.begin() + place, open.depths.end());
    } else if (target != open.start) {  // a jump to itself is an empty loop
        throw Unstructured{};
    }
    open.start = target;
    add(open, std::move(loop), depth + 1);
}

std::uint32_t ScriptDecoder::createLocal(OpenBlock& open, std::uint32_t pc) {
    const bool isReturn =
        pc + 1 < open.limit && opAt(pc + 1) == Op::ret && !marks_[pc + 1 - range_.from].isTarget;
    if (isReturn) {
        if (context_.options.valuelessReturn == ValuelessReturn::bare) {
            add(open, begin(Statement::Kind::ret));
            holdsBareReturn_ = true;
        } else {
            addRaw(open, pc, pc + 2);
        }
        return pc + 2;
    }
    locals_.push_back(
        context_.program.ownTexts.emplace_back(context_.names.local(name_, locals_.size())));
    Statement result = begin(Statement::Kind::locals);
    result.names.push_back({locals_.back(), {}});
    add(open, std::move(result));
    return pc + 1;
}

void ScriptDecoder::statement(OpenBlock& open, std::uint32_t pc, const OpcodeRow& row) {
    const std::size_t pops =
        row.pops == kPopsArguments ? wordAt(pc + 2) : static_cast<std::size_t>(row.pops);
    const std::uint32_t next = pc + static_cast<std::uint32_t>(row.length());
    // What takes a value that an earlier statement left can only stand as it is.
    if (open.stack.empty() && pops > 0) return addRaw(open, pc, next);
    if (open.stack.size() != pops) throw Unstructured{};
    Statement result = begin(Statement::Kind::simple);
    result.op = row.op;
    if (open.needsRaw || !describe(result, open, pc)) return addRaw(open, open.start, next);
    add(open, std::move(result));
    open.stack.clear();
}

/// Fills in the statement of an instruction; false when an operand has no name.
bool ScriptDecoder::describe(Statement& statement, const OpenBlock& open, std::uint32_t pc) {
    switch (statement.op) {
        case Op::start:
        case Op::call:
            return describeStart(statement, open, pc);
        case Op::popLocal:
        case Op::popStatic:
            return describeAssignment(statement, open, pc);
        case Op::ret:
            statement.kind = Statement::Kind::ret;
            statement.values.push_back(expression(open.stack[0]));
            return true;
        default:
            return formOf(statement.op) && describeForm(statement, open, pc);
    }
}

bool ScriptDecoder::describeForm(Statement& statement, const OpenBlock& open, std::uint32_t pc) {
    const auto& operands = opcodeRow(statement.op).operands;
    if (operands[0] == Operand::piece) {
        const std::uint32_t piece = wordAt(pc + 1);
        if (piece >= context_.pieces.size() || !context_.isPieceFound[piece]) return false;
        statement.names.push_back(context_.pieces[piece]);
    }
    if (operands[1] == Operand::axis) {
        if (wordAt(pc + 2) > 2) return false;
        statement.axis = static_cast<std::uint8_t>(wordAt(pc + 2));
    }
    for (const Value& value : open.stack) statement.values.push_back(expression(value));
    return std::ranges::none_of(formOf(statement.op)->parts, [&](const FormPart& part) {
        if (part.kind != FormPart::Kind::hiddenZero) return false;
        const Value& value = open.stack[part.push];
        return value.to != value.from + 2 || opAt(value.from) != Op::pushConst ||
               wordAt(value.from + 1) != 0;
    });
}

bool ScriptDecoder::describeStart(Statement& statement, const OpenBlock& open, std::uint32_t pc) {
    const std::uint32_t script = wordAt(pc + 1);
    if (script >= context_.scripts.size() || !context_.isScriptFound[script]) return false;
    statement.kind = Statement::Kind::start;
    statement.names.push_back(context_.scripts[script]);
    for (const Value& value : open.stack) statement.values.push_back(expression(value));
    if (context_.options.argumentOrder == ArgumentOrder::vm) std::ranges::reverse(statement.values);
    return true;
}

bool ScriptDecoder::describeAssignment(Statement& statement, const OpenBlock& open,
                                       std::uint32_t pc) {
    const std::uint32_t index = wordAt(pc + 1);
    const bool isLocal = statement.op == Op::popLocal;
    const auto& statics = context_.program.statics;
    if (index >= (isLocal ? locals_.size() : statics.size())) return false;
    statement.kind = Statement::Kind::assign;
    statement.names.push_back(isLocal ? Name{locals_[index], {}} : statics[index]);
    const Value& value = open.stack[0];
    statement.values.push_back(expression(value));
    ExpressionItem& item = context_.program.items[statement.values[0].from];
    const bool isPiece = isLocal && index == 0 && answersPiece(name_) &&
                         opAt(value.from) == Op::pushConst && value.to == value.from + 2 &&
                         wordAt(value.from + 1) < context_.pieces.size();
    if (isPiece && context_.isPieceFound[wordAt(value.from + 1)]) {
        item.kind = ExpressionItem::Kind::name;
        item.text = context_.pieces[wordAt(value.from + 1)].text;
    }
    return true;
}

void ScriptDecoder::addRaw(OpenBlock& open, std::uint32_t from, std::uint32_t to) {
    Statement result = begin(Statement::Kind::rawWords);
    for (; from < to; ++from) result.words.push_back({wordAt(from), false});
    add(open, std::move(result));
    open.stack.clear();
    holdsRawWords_ = true;
}

void ScriptDecoder::add(OpenBlock& open, Statement statement, int depth) {
    open.statements.push_back(std::move(statement));
    open.starts.push_back(open.start);
    open.depths.push_back(depth);
}

Expression ScriptDecoder::expression(const Value& value) {
    auto& items = context_.program.items;
    const auto from = static_cast<std::uint32_t>(items.size());
    for (std::uint32_t pc = value.from; pc < value.to;) {
        const OpcodeRow& row = opcodeRow(opAt(pc));
        ExpressionItem item;
        item.op = row.op;
        item.kind = ExpressionItem::Kind::operation;
        if (row.op == Op::pushConst) {
            item.kind = ExpressionItem::Kind::number;
            item.number = static_cast<std::int32_t>(wordAt(pc + 1));
        } else if (row.op == Op::pushLocal || row.op == Op::pushStatic) {
            item.kind = ExpressionItem::Kind::name;
            item.text = row.op == Op::pushLocal ? locals_[wordAt(pc + 1)]
                                                : context_.program.statics[wordAt(pc + 1)].text;
        }
        items.push_back(item);
        pc += static_cast<std::uint32_t>(row.length());
    }
    return {from, static_cast<std::uint32_t>(items.size())};
}

Statement ScriptDecoder::begin(Statement::Kind kind) const {
    Statement statement;
    statement.kind = kind;
    return statement;
}

std::vector<Statement> ScriptDecoder::rawStatements() const {
    std::vector<Statement> statements;
    for (std::uint32_t pc = range_.from; pc < range_.to;) {
        const OpcodeRow& row = opcodeRow(opAt(pc));
        Statement statement = begin(Statement::Kind::rawWords);
        for (std::size_t i = 0; i < row.length() && pc < range_.to; ++i, ++pc) {
            const std::uint32_t word = wordAt(pc);
            const bool isTarget = i > 0 && row.operands.at(i - 1) == Operand::target &&
                                  word >= range_.from && word <= range_.to;
            statement.words.push_back({isTarget ? word - range_.from : word, isTarget});
        }
        statements.push_back(std::move(statement));
    }
    return statements;
}

}  // namespace orb::unitview::bos
