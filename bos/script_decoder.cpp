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
        block(from, end_, 0, script.body);
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
int ScriptDecoder::block(std::uint32_t from, std::uint32_t limit, int nesting,
                         std::vector<Statement>& statements) {
    if (nesting > kMaxNesting) throw Unstructured{};
    Block block{statements, limit, nesting};
    block.start = from;
    while (from < limit) {
        if (block.stack.empty()) {
            block.start = from;
            block.needsRaw = false;
        }
        from = instruction(block, from);
    }
    if (from != limit || !block.stack.empty()) throw Unstructured{};
    return block.depths.empty() ? 0 : *std::ranges::max_element(block.depths);
}

/// Takes in one instruction; returns where to go on.
std::uint32_t ScriptDecoder::instruction(Block& block, std::uint32_t pc) {
    const Op op = opAt(pc);
    const OpcodeRow& row = opcodeRow(op);
    const std::uint32_t next = pc + static_cast<std::uint32_t>(row.length());
    if (next > block.limit) throw Unstructured{};
    if (leavesValue(op, row)) {
        pushValue(block, pc, row);
    } else if (op == Op::jumpIfZero) {
        return branch(block, pc);
    } else if (op == Op::jump) {
        if (!block.stack.empty()) throw Unstructured{};
        endlessLoop(block, wordAt(pc + 1));
    } else if (op == Op::createLocal) {
        if (!block.stack.empty()) throw Unstructured{};
        return createLocal(block, pc);
    } else {
        statement(block, pc, row);
    }
    return next;
}

void ScriptDecoder::pushValue(Block& block, std::uint32_t pc, const OpcodeRow& row) {
    const auto pops = static_cast<std::size_t>(std::max<int>(row.pops, 0));
    if (block.stack.size() < pops) throw Unstructured{};
    const std::size_t rest = block.stack.size() - pops;
    Value result{pc, pc + static_cast<std::uint32_t>(row.length()), row.op, 0};
    for (std::size_t i = rest; i < block.stack.size(); ++i) {
        const Value& operand = block.stack[i];
        result.from = std::min(result.from, operand.from);
        // a + b + c needs no parentheses
        const bool isChain = i == rest && operand.op == row.op && binaryOperator(row.op);
        result.nesting = std::max(result.nesting, operand.nesting + (isChain ? 0 : 1));
    }
    block.stack.resize(rest);
    block.stack.push_back(result);
    if (result.nesting > kMaxNesting) block.needsRaw = true;
    if (row.op == Op::pushLocal && wordAt(pc + 1) >= locals_.size()) block.needsRaw = true;
    if (row.op == Op::pushStatic && wordAt(pc + 1) >= context_.program.statics.size())
        block.needsRaw = true;
}

/// A branch over a part of the code: the jump in front of its target tells a loop or an else. That
/// jump belongs to the last branch with this target; others end there as well.
std::uint32_t ScriptDecoder::branch(Block& block, std::uint32_t pc) {
    const std::uint32_t next = pc + 2;
    const std::uint32_t target = wordAt(pc + 1);
    if (block.stack.size() != 1 || block.needsRaw || target < next || target > block.limit ||
        !isStart(target))
        throw Unstructured{};
    Statement result = begin(Statement::Kind::branch);
    result.values.push_back(expression(block.stack[0]));
    block.stack.clear();

    const std::uint32_t start = block.start;
    const bool hasJump = target >= next + 2 && isStart(target - 2) &&
                         opAt(target - 2) == Op::jump &&
                         marks_[target - range_.from].branch == pc + 1;
    const std::uint32_t jumpsTo = hasJump ? wordAt(target - 1) : 0;
    std::uint32_t end = target;
    int depth = 0;
    if (hasJump && jumpsTo == start) {
        result.kind = Statement::Kind::loop;
        depth = this->block(next, target - 2, block.nesting + 1, result.body);
    } else if (hasJump && jumpsTo >= target && jumpsTo <= block.limit && isStart(jumpsTo)) {
        depth = std::max(this->block(next, target - 2, block.nesting + 1, result.body),
                         this->block(target, jumpsTo, block.nesting + 1, result.otherwise));
        result.hasElse = true;
        end = jumpsTo;
    } else {
        depth = this->block(next, target, block.nesting + 1, result.body);
    }
    block.start = start;
    add(block, std::move(result), depth + 1);
    return end;
}

/// A jump back to a statement of this block makes everything since then a loop without condition.
void ScriptDecoder::endlessLoop(Block& block, std::uint32_t target) {
    const auto found = std::ranges::lower_bound(block.starts, target);
    Statement loop = begin(Statement::Kind::loop);
    int depth = 0;
    if (found != block.starts.end() && *found == target) {
        const auto place = found - block.starts.begin();
        const auto first = block.statements.begin() + place;
        loop.body.assign(std::make_move_iterator(first),
                         std::make_move_iterator(block.statements.end()));
        depth = *std::max_element(block.depths.begin() + place, block.depths.end());
        if (block.nesting + depth > kMaxNesting) throw Unstructured{};
        block.statements.erase(first, block.statements.end());
        block.starts.erase(found, block.starts.end());
        block.depths.erase(block.depths.begin() + place, block.depths.end());
    } else if (target != block.start) {  // a jump to itself is an empty loop
        throw Unstructured{};
    }
    block.start = target;
    add(block, std::move(loop), depth + 1);
}

std::uint32_t ScriptDecoder::createLocal(Block& block, std::uint32_t pc) {
    const bool isReturn =
        pc + 1 < block.limit && opAt(pc + 1) == Op::ret && !marks_[pc + 1 - range_.from].isTarget;
    if (isReturn) {
        if (context_.options.valuelessReturn == ValuelessReturn::bare) {
            add(block, begin(Statement::Kind::ret));
        } else {
            addRaw(block, pc, pc + 2);
        }
        return pc + 2;
    }
    locals_.push_back(
        context_.program.ownTexts.emplace_back(context_.names.local(name_, locals_.size())));
    Statement result = begin(Statement::Kind::locals);
    result.names.push_back({locals_.back(), {}});
    add(block, std::move(result));
    return pc + 1;
}

void ScriptDecoder::statement(Block& block, std::uint32_t pc, const OpcodeRow& row) {
    const std::size_t pops =
        row.pops == kPopsArguments ? wordAt(pc + 2) : static_cast<std::size_t>(row.pops);
    const std::uint32_t next = pc + static_cast<std::uint32_t>(row.length());
    // What takes a value that an earlier statement left can only stand as it is.
    if (block.stack.empty() && pops > 0) return addRaw(block, pc, next);
    if (block.stack.size() != pops) throw Unstructured{};
    Statement result = begin(Statement::Kind::simple);
    result.op = row.op;
    if (block.needsRaw || !describe(result, block, pc)) return addRaw(block, block.start, next);
    add(block, std::move(result));
    block.stack.clear();
}

/// Fills in the statement of an instruction; false when an operand has no name.
bool ScriptDecoder::describe(Statement& statement, const Block& block, std::uint32_t pc) {
    switch (statement.op) {
        case Op::start:
        case Op::call:
            return describeStart(statement, block, pc);
        case Op::popLocal:
        case Op::popStatic:
            return describeAssignment(statement, block, pc);
        case Op::ret:
            statement.kind = Statement::Kind::ret;
            statement.values.push_back(expression(block.stack[0]));
            return true;
        default:
            return formOf(statement.op) && describeForm(statement, block, pc);
    }
}

bool ScriptDecoder::describeForm(Statement& statement, const Block& block, std::uint32_t pc) {
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
    for (const Value& value : block.stack) statement.values.push_back(expression(value));
    return std::ranges::none_of(formOf(statement.op)->parts, [&](const FormPart& part) {
        if (part.kind != FormPart::Kind::hiddenZero) return false;
        const Value& value = block.stack[part.push];
        return value.to != value.from + 2 || opAt(value.from) != Op::pushConst ||
               wordAt(value.from + 1) != 0;
    });
}

bool ScriptDecoder::describeStart(Statement& statement, const Block& block, std::uint32_t pc) {
    const std::uint32_t script = wordAt(pc + 1);
    if (script >= context_.scripts.size() || !context_.isScriptFound[script]) return false;
    statement.kind = Statement::Kind::start;
    statement.names.push_back(context_.scripts[script]);
    for (const Value& value : block.stack) statement.values.push_back(expression(value));
    if (context_.options.argumentOrder == ArgumentOrder::vm) std::ranges::reverse(statement.values);
    return true;
}

bool ScriptDecoder::describeAssignment(Statement& statement, const Block& block, std::uint32_t pc) {
    const std::uint32_t index = wordAt(pc + 1);
    const bool isLocal = statement.op == Op::popLocal;
    const auto& statics = context_.program.statics;
    if (index >= (isLocal ? locals_.size() : statics.size())) return false;
    statement.kind = Statement::Kind::assign;
    statement.names.push_back(isLocal ? Name{locals_[index], {}} : statics[index]);
    const Value& value = block.stack[0];
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

void ScriptDecoder::addRaw(Block& block, std::uint32_t from, std::uint32_t to) {
    Statement result = begin(Statement::Kind::rawWords);
    for (; from < to; ++from) result.words.push_back({wordAt(from), false});
    add(block, std::move(result));
    block.stack.clear();
    holdsRawWords_ = true;
}

void ScriptDecoder::add(Block& block, Statement statement, int depth) {
    block.statements.push_back(std::move(statement));
    block.starts.push_back(block.start);
    block.depths.push_back(depth);
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
