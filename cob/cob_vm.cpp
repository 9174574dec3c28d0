#include "cob/cob_vm.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "cob/cob_animation.h"
#include "cob/cob_execute.h"
#include "cob/cob_instruction_trace.h"
#include "cob/wrapping.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

/// kAsk while every instruction needs a closer look, else 0.
std::uint8_t attentionMask(const CobInstance& instance) {
    const bool asks = instance.callbacks.breakpointPredicate && instance.code.asksEverywhere();
    return asks || instance.traceInstructions ? CobCode::kAsk : std::uint8_t{0};
}

}  // namespace

void CobVm::tick(std::int32_t number, std::int64_t budget) {
    instance_.tick = number;
    instance_.previousPieces = instance_.pieces;
    animate();
    wakeThreads();
    instance_.pending.clear();
    runThreads(budget);
    removeFinishedThreads();
}

/// Begins with the thread that the last tick's budget kept from its turn, if there is one.
void CobVm::runThreads(std::int64_t budget) {
    constexpr std::size_t kEnd = std::numeric_limits<std::size_t>::max();
    const std::uint32_t firstId = std::exchange(instance_.nextTurn, 0);
    const auto& threads = instance_.threads;
    const auto first =
        firstId == 0 ? threads.begin()
                     : std::ranges::lower_bound(threads, firstId, {},
                                                [](const auto& thread) { return thread->id; });
    const auto begun = static_cast<std::size_t>(first - threads.begin());
    if (!giveTurns(begun, kEnd, budget) || begun == 0) return;
    const std::size_t started = threads.size();
    if (giveTurns(0, begun, budget)) giveTurns(started, kEnd, budget);
}

/// Gives the threads from `from` to `to` a turn each, those that they start as well where `to` is
/// the end. False when the budget ran out.
bool CobVm::giveTurns(std::size_t from, std::size_t to, std::int64_t& budget) {
    auto& threads = instance_.threads;
    auto& pending = instance_.pending;
    for (std::size_t i = from; i < std::min(to, threads.size()); ++i) {
        if (threads[i]->state != CobThreadState::runnable) continue;
        if (budget <= 0) {
            instance_.nextTurn = threads[i]->id;
            return false;
        }
        const std::int64_t slice = std::min<std::int64_t>(budget, kSliceInstructions);
        budget -= runThread(*threads[i], static_cast<std::int32_t>(slice));
        threads.insert(threads.end(), std::make_move_iterator(pending.begin()),
                       std::make_move_iterator(pending.end()));
        pending.clear();
    }
    return true;
}

void CobVm::removeFinishedThreads() {
    std::erase_if(instance_.threads, [this](const auto& thread) {
        if (thread->state != CobThreadState::finished) return false;
        if (thread->callId)
            instance_.endedCalls.push_back(
                {*thread->callId, thread->stack.pop(), thread->wasSignalled});
        return true;
    });
}

void CobVm::animate() {
    bool changed = false;
    for (CobPiece& piece : instance_.pieces) changed |= advancePiece(piece);
    if (changed) ++instance_.poseVersion;
}

void CobVm::wakeThreads() {
    for (const auto& thread : instance_.threads) {
        const bool wakes = thread->state == CobThreadState::sleeping
                               ? instance_.tick >= thread->sleepUntil
                               : isMotionDone(*thread);
        if (wakes) thread->state = CobThreadState::runnable;
    }
}

bool CobVm::isMotionDone(const CobThread& thread) const {
    const bool turn = thread.state == CobThreadState::waitingForTurn;
    if (!turn && thread.state != CobThreadState::waitingForMove) return false;
    if (bits(thread.waitPiece) >= instance_.pieces.size()) return true;
    const CobPiece& piece = instance_.pieces[bits(thread.waitPiece)];
    const std::size_t axis = bits(thread.waitAxis);
    return turn ? isTurnDone(piece, axis) : isMoveDone(piece, axis);
}

bool CobVm::stopsAt(std::uint32_t pc) {
    const CobCallbacks& callbacks = instance_.callbacks;
    if (!callbacks.breakpointPredicate || !callbacks.breakpointPredicate(pc)) return false;
    if (callbacks.breakpointHit) callbacks.breakpointHit(pc);
    return true;
}

std::int32_t CobVm::runThread(CobThread& thread, std::int32_t budget) {
    if (thread.state != CobThreadState::runnable) return 0;
    const Slice slice = runSlice(thread, budget);
    if (slice.end == SliceEnd::leftCode) thread.state = CobThreadState::finished;
    return slice.executed;
}

// The pc, the stack's ends and the current frame live in local variables. Instructions that the
// loop does not execute itself see and change the thread, which is stored before and loaded after.
CobVm::Slice CobVm::runSlice(CobThread& thread, std::int32_t budget) {
    const CobCode& code = instance_.code;
    const std::uint32_t* const words = code.words();
    const std::uint8_t* const marks = code.marks();
    const std::size_t size = code.size();
    const std::span<std::int32_t> statics = instance_.statics;

    thread.sentSignals = 0;
    std::uint32_t pc = thread.pc;
    ValueStack::Cursor stack(thread.stack);
    std::span<std::int32_t> frame = thread.frames.current();
    std::uint8_t attention = attentionMask(instance_);
    const auto store = [&] {
        thread.pc = pc;
        stack.store();
    };

    SliceEnd end = SliceEnd::spent;
    std::int32_t left = budget;
    const auto endBehindThis = [&](SliceEnd why) {
        if (end == SliceEnd::spent) end = why;
        budget -= left - 1;  // which stays unused
        left = 1;
    };

    for (; left > 0; --left) {
        if (pc >= size) {
            end = SliceEnd::leftCode;
            break;
        }
        std::uint8_t mark = marks[pc] | attention;
        if ((mark & (CobCode::kAsk | CobCode::kTruncated)) != 0) [[unlikely]] {
            store();
            if ((mark & CobCode::kAsk) != 0 && stopsAt(pc)) {
                end = SliceEnd::breakpoint;
                break;
            }
            if ((mark & CobCode::kTruncated) != 0) endBehindThis(SliceEnd::leftCode);
            mark &= CobCode::kOpMask;
            if (instance_.traceInstructions)
                printTraceLine(instructionTraceLine(instance_, thread, Op{mark}, words + pc + 1));
        }

        const std::uint32_t operand = words[pc + std::size_t{1}];  // if it has one
        const auto binary = [&](auto operation) {
            stack.combine(operation);
            ++pc;
        };
        const Op op{mark};
        switch (op) {
            case Op::pushConst:
                stack.push(wrapped(operand));
                pc += 2;
                break;
            case Op::pushLocal:
                stack.push(operand < frame.size() ? frame[operand] : 0);
                pc += 2;
                break;
            case Op::pushStatic:
                stack.push(operand < statics.size() ? statics[operand] : 0);
                pc += 2;
                break;
            case Op::popLocal: {
                const std::int32_t value = stack.pop();
                if (operand < frame.size()) frame[operand] = value;
                pc += 2;
                break;
            }
            case Op::popStatic: {
                const std::int32_t value = stack.pop();
                if (operand < statics.size()) statics[operand] = value;
                instance_.trace.record({instance_.tick, thread.id, op, {wrapped(operand), value}});
                pc += 2;
                break;
            }
            case Op::pop:
                stack.pop();
                ++pc;
                break;
            case Op::add:
                binary(wrappingAdd);
                break;
            case Op::sub:
                binary(wrappingSub);
                break;
            case Op::mul:
                binary(wrappingMul);
                break;
            case Op::div:
                binary(wrappingDiv);
                break;
            case Op::bitAnd:
                binary([](std::int32_t a, std::int32_t b) { return a & b; });
                break;
            case Op::bitOr:
                binary([](std::int32_t a, std::int32_t b) { return a | b; });
                break;
            case Op::bitXor:
                binary([](std::int32_t a, std::int32_t b) { return a ^ b; });
                break;
            case Op::bitNot:
                stack.push(~stack.pop());
                ++pc;
                break;
            case Op::less:
                binary([](std::int32_t a, std::int32_t b) { return a < b; });
                break;
            case Op::lessOrEqual:
                binary([](std::int32_t a, std::int32_t b) { return a <= b; });
                break;
            case Op::greater:
                binary([](std::int32_t a, std::int32_t b) { return a > b; });
                break;
            case Op::greaterOrEqual:
                binary([](std::int32_t a, std::int32_t b) { return a >= b; });
                break;
            case Op::equal:
                binary([](std::int32_t a, std::int32_t b) { return a == b; });
                break;
            case Op::notEqual:
                binary([](std::int32_t a, std::int32_t b) { return a != b; });
                break;
            case Op::logicalAnd:
                binary([](std::int32_t a, std::int32_t b) { return a != 0 && b != 0; });
                break;
            case Op::logicalOr:
                binary([](std::int32_t a, std::int32_t b) { return a != 0 || b != 0; });
                break;
            case Op::logicalXor:
                binary([](std::int32_t a, std::int32_t b) { return (a != 0) != (b != 0); });
                break;
            case Op::logicalNot:
                stack.push(stack.pop() == 0 ? 1 : 0);
                ++pc;
                break;
            case Op::jump:
                pc = operand;
                break;
            case Op::jumpIfZero:
                pc = stack.pop() == 0 ? operand : pc + 2;
                break;
            case Op::unknown:
                reportUnknownOpcode(instance_, words[pc], pc);
                ++pc;
                break;
            default: {
                const std::uint32_t* const operands = words + pc + 1;
                pc += static_cast<std::uint32_t>(opcodeRow(op).length());
                store();
                executeInstruction(instance_, thread, op, operands);
                pc = thread.pc;
                stack.load();
                frame = thread.frames.current();
                attention = attentionMask(instance_);
                if (thread.state != CobThreadState::runnable) endBehindThis(SliceEnd::blocked);
                break;
            }
        }
    }
    store();
    return {end, budget - left};
}

std::optional<std::int32_t> CobVm::call(std::string_view script, std::span<std::int32_t> parameters,
                                        std::int32_t budget) {
    const int index = instance_.file().findScript(script);
    if (index < 0) return std::nullopt;
    const auto thread = instance_.newThread(static_cast<std::size_t>(index), parameters);
    runThread(*thread, budget);
    const std::span<const std::int32_t> locals = thread->frames.frame(0);
    std::copy_n(locals.begin(), std::min(locals.size(), parameters.size()), parameters.begin());
    if (thread->state != CobThreadState::finished || thread->stack.empty()) return std::nullopt;
    return thread->stack.pop();
}

bool CobVm::startScript(std::string_view name, std::span<const std::int32_t> arguments) {
    const int index = instance_.file().findScript(name);
    if (index < 0) return false;
    LogLine(LogLevel::info) << "[cob-script] startScript name=" << name << " idx=" << index;
    return startScript(static_cast<std::size_t>(index), arguments);
}

bool CobVm::startScript(std::size_t script, std::span<const std::int32_t> arguments,
                        std::optional<std::uint32_t> callId) {
    if (script >= instance_.file().scripts.size()) return false;
    instance_.threads.push_back(instance_.newThread(script, arguments));
    instance_.threads.back()->callId = callId;
    return true;
}

}  // namespace orb::unitview
