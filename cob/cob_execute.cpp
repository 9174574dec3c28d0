#include "cob/cob_execute.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "cob/cob_animation.h"
#include "cob/cob_instruction_trace.h"
#include "cob/cob_units.h"
#include "cob/cob_vm.h"
#include "cob/unit_values.h"
#include "cob/wrapping.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

/// One instruction in execution. Methods are named after what instructions do.
class Execution {
public:
    Execution(CobInstance& instance, CobThread& thread, Op op, const std::uint32_t* operands)
        : instance_(instance), thread_(thread), op_(op), operands_(operands) {}

    void run();

private:
    std::int32_t pop() { return thread_.stack.pop(); }
    void push(std::int32_t value) { thread_.stack.push(value); }
    void record(std::int32_t a = 0, std::int32_t b = 0, std::int32_t c = 0, std::int32_t d = 0) {
        instance_.trace.record({instance_.tick, thread_.id, op_, {a, b, c, d}});
    }
    std::int32_t pieceOperand() const { return wrapped(operands_[0]); }
    std::int32_t modelPieceOperand() const {
        return wrapped(instance_.modelPieceIndex(operands_[0]));
    }
    std::int32_t axisOperand() const { return wrapped(operands_[1]); }
    /// The record that the piece operand means; nullptr when the model has none.
    CobPiece* piece() const;
    /// The same for an instruction with an axis operand, which must be 0..2.
    CobPiece* pieceOnAxis() const { return axis() < 3 ? piece() : nullptr; }
    std::size_t axis() const { return operands_[1]; }
    void poseChanged() { ++instance_.poseVersion; }

    void move();
    void turn();
    void spin();
    void stopSpin();
    void moveNow();
    void turnNow();
    void setVisible(bool visible);
    void explode();
    void emitSfx();
    void wait(CobThreadState state);
    void sleep();
    void random();
    void getUnitValue();
    void getWithArguments();
    void setUnitValue();
    void start();
    void call();
    void ret();
    void signal();
    void setSignalMask();
    void attachUnit();
    void dropUnit();
    void playSound();

    CobInstance& instance_;
    CobThread& thread_;
    Op op_;
    const std::uint32_t* operands_;
};

void Execution::run() {
    switch (op_) {
        case Op::move:
            return move();
        case Op::turn:
            return turn();
        case Op::spin:
            return spin();
        case Op::stopSpin:
            return stopSpin();
        case Op::moveNow:
            return moveNow();
        case Op::turnNow:
            return turnNow();
        case Op::show:
            return setVisible(true);
        case Op::hide:
            return setVisible(false);
        case Op::explode:
            return explode();
        case Op::emitSfx:
            return emitSfx();
        case Op::waitTurn:
            return wait(CobThreadState::waitingForTurn);
        case Op::waitMove:
            return wait(CobThreadState::waitingForMove);
        case Op::sleep:
            return sleep();
        case Op::createLocal:
            return thread_.frames.addLocal();
        case Op::rand:
            return random();
        case Op::getUnitValue:
            return getUnitValue();
        case Op::get:
            return getWithArguments();
        case Op::set:
            return setUnitValue();
        case Op::start:
            return start();
        case Op::call:
            return call();
        case Op::ret:
            return ret();
        case Op::signal:
            return signal();
        case Op::setSignalMask:
            return setSignalMask();
        case Op::attachUnit:
            return attachUnit();
        case Op::dropUnit:
            return dropUnit();
        case Op::playSound:
            return playSound();
        default:
            return;  // cache and shade hints, which mean nothing here
    }
}

CobPiece* Execution::piece() const {
    const std::uint32_t index = instance_.modelPieceIndex(operands_[0]);
    return index < instance_.pieces.size() ? &instance_.pieces[index] : nullptr;
}

void Execution::move() {
    const std::int32_t target = pop();
    const std::int32_t speed = pop();
    record(pieceOperand(), axisOperand(), target, speed);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    p->targetOffset[axis()] = offsetForAxis(target, axis());
    p->moveSpeed[axis()] = moveSpeedPerTick(speed, instance_.ticksPerSecond);
}

void Execution::turn() {
    const std::int32_t target = pop();
    const std::int32_t speed = pop();
    record(pieceOperand(), axisOperand(), target, speed);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    p->targetAngle[axis()] = angleForAxis(target, axis());
    p->turnSpeed[axis()] = turnSpeedPerTick(speed, instance_.ticksPerSecond);
}

void Execution::spin() {
    const std::int32_t speed = pop();
    const std::int32_t acceleration = pop();
    record(pieceOperand(), axisOperand(), speed, acceleration);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    const float tps = instance_.ticksPerSecond;
    p->spinTarget[axis()] = spinSpeedPerTick(speed, tps);
    p->spinAcceleration[axis()] = spinAccelerationPerTick(acceleration, tps);
    if (acceleration == 0) p->spinSpeed[axis()] = p->spinTarget[axis()];
}

void Execution::stopSpin() {
    const std::int32_t deceleration = pop();
    record(pieceOperand(), axisOperand(), deceleration);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    p->spinTarget[axis()] = 0;
    p->spinAcceleration[axis()] = spinAccelerationPerTick(deceleration, instance_.ticksPerSecond);
    if (deceleration == 0) p->spinSpeed[axis()] = 0;
}

void Execution::moveNow() {
    const std::int32_t position = pop();
    record(pieceOperand(), axisOperand(), position);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    p->offset[axis()] = p->targetOffset[axis()] = offsetForAxis(position, axis());
    p->moveSpeed[axis()] = 0;
    poseChanged();
}

void Execution::turnNow() {
    const std::int32_t angle = pop();
    record(pieceOperand(), axisOperand(), angle);
    CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    p->angle[axis()] = p->targetAngle[axis()] = angleForAxis(angle, axis());
    p->turnSpeed[axis()] = 0;
    poseChanged();
}

void Execution::setVisible(bool visible) {
    record(pieceOperand());
    CobPiece* const p = piece();
    if (p == nullptr) return;
    p->visible = visible ? 1 : 0;
    poseChanged();
}

void Execution::explode() {
    const std::int32_t flags = pop();
    record(pieceOperand(), flags);
    CobPiece* const p = piece();
    if (p == nullptr) return;
    p->visible = 0;
    poseChanged();
    if (instance_.callbacks.explode) instance_.callbacks.explode(modelPieceOperand(), flags);
}

/// Logs a pair of effect and piece when the process emits it for the first time.
void logFirstEmit(std::int32_t type, std::int32_t modelPiece, bool hasCallback) {
    constexpr std::size_t kMaxLoggedPairs = 4096;  // types come from scripts; the log stays finite
    static std::mutex mutex;
    static std::set<std::pair<std::int32_t, std::int32_t>> logged;
    const std::scoped_lock lock(mutex);
    const std::pair pair(type, modelPiece);
    if (logged.size() >= kMaxLoggedPairs || logged.contains(pair)) return;
    logged.insert(pair);
    LogLine(LogLevel::info) << "[cob-vm] EMIT_SFX type=" << type << " piece=" << modelPiece
                            << " hasCb=" << hasCallback;
}

void Execution::emitSfx() {
    const std::int32_t type = pop();
    record(pieceOperand(), type);
    if (piece() == nullptr) return;
    const std::int32_t modelPiece = modelPieceOperand();
    const auto& callback = instance_.callbacks.emitSfx;
    logFirstEmit(type, modelPiece, static_cast<bool>(callback));
    if (callback) callback(type, modelPiece);
}

void Execution::wait(CobThreadState state) {
    record(pieceOperand(), axisOperand());
    const CobPiece* const p = pieceOnAxis();
    if (p == nullptr) return;
    const bool done =
        state == CobThreadState::waitingForTurn ? isTurnDone(*p, axis()) : isMoveDone(*p, axis());
    if (done) return;
    thread_.waitPiece = modelPieceOperand();
    thread_.waitAxis = axisOperand();
    thread_.state = state;
}

void Execution::sleep() {
    constexpr std::int64_t kMaxTicksPerSecond = 1'000'000;  // keeps the products below in 64 bits
    const std::int32_t milliseconds = pop();
    record(milliseconds);
    const std::int64_t tps = std::clamp<std::int64_t>(
        truncated<std::int64_t>(instance_.ticksPerSecond), 1, kMaxTicksPerSecond);
    const std::int64_t now = std::int64_t{instance_.tick} * 1000 / tps;
    const std::int64_t until = ((now + std::max(milliseconds, 0)) * tps + 999) / 1000;
    thread_.sleepUntil = static_cast<std::int32_t>(until);
    thread_.state = CobThreadState::sleeping;
    if (instance_.traceInstructions)
        printTraceLine(fmt::format("  COB SLEEP {}ms untilTick={}", milliseconds, until));
}

void Execution::random() {
    const std::int32_t high = pop();
    const std::int32_t low = pop();
    if (instance_.callbacks.random) return push(instance_.callbacks.random(low, high));
    const std::int32_t range = std::max(wrappingAdd(wrappingSub(high, low), 1), 1);
    push(wrappingAdd(std::rand() % range, low));
}

void Execution::getUnitValue() {
    const std::int32_t id = pop();
    const auto& getter = instance_.callbacks.getUnitValue;
    const std::int32_t value = getter ? getter(id) : 0;
    if (instance_.traceInstructions) printTraceLine(unitValueTraceLine(id, value));
    push(value);
}

/// 1 as computed values show it.
constexpr double kUnity = kLinearUnitsPerModelUnit;

double hypotenuse(std::int32_t a, std::int32_t b) {
    return std::sqrt(static_cast<double>(a) * a + static_cast<double>(b) * b);
}

std::int32_t cobAtan(std::int32_t y, std::int32_t x) {
    return cobAngleOfRadians(std::atan2(static_cast<float>(y), static_cast<float>(x)));
}

/// The values that depend on nothing but the arguments.
std::optional<std::int32_t> computedValue(std::int32_t id, std::int32_t a1, std::int32_t a2) {
    const float radians = static_cast<float>(a1) * kRadiansPerCobAngle;
    switch (id) {
        case kAtan:
            return cobAtan(a1, a2);
        case kHypot:
            return truncated<std::int32_t>(hypotenuse(a1, a2));
        case kSin:
            return truncated<std::int32_t>(std::sin(radians) * kUnity);
        case kCos:
            return truncated<std::int32_t>(std::cos(radians) * kUnity);
        case kTan:
            return truncated<std::int32_t>(std::tan(static_cast<double>(radians)) * kUnity);
        case kSqrt:
            return a1 < 1 ? 0 : truncated<std::int32_t>(std::sqrt(static_cast<double>(a1)));
        default:
            return std::nullopt;
    }
}

/// Angle and length of a point packed into one word: x in the high half, z in the low one. A host
/// may compute them in its place.
std::optional<std::int32_t> packedValue(std::int32_t id, std::int32_t packed) {
    const auto x = static_cast<std::int16_t>(bits(packed) >> 16);
    const auto z = static_cast<std::int16_t>(bits(packed));
    if (id == kXzAtan) return cobAtan(x, z);
    if (id == kXzHypot) return truncated<std::int32_t>(hypotenuse(x, z) * kUnity);
    return std::nullopt;
}

void Execution::getWithArguments() {
    const std::int32_t a4 = pop();
    const std::int32_t a3 = pop();
    const std::int32_t a2 = pop();
    const std::int32_t a1 = pop();
    const std::int32_t id = pop();
    const CobCallbacks& host = instance_.callbacks;
    std::optional<std::int32_t> value = computedValue(id, a1, a2);
    if (!value && host.getOverride) value = host.getOverride(id, a1, a2, a3, a4);
    if (!value) value = packedValue(id, a1);
    if (!value && host.getUnitValue) value = host.getUnitValue(id);
    push(value.value_or(0));
}

void Execution::setUnitValue() {
    const std::int32_t value = pop();
    const std::int32_t id = pop();
    record(id, value);
    if (instance_.callbacks.setUnitValue) instance_.callbacks.setUnitValue(id, value);
}

void Execution::start() {
    const std::uint32_t script = operands_[0];
    const std::uint32_t count = operands_[1];
    record(wrapped(script), wrapped(count));
    const bool full =
        instance_.threads.size() + instance_.pending.size() >= kMaxConcurrentThreadsPerUnit;
    if (full && !std::exchange(instance_.threadLimitWarned, true))
        LogLine(LogLevel::warn) << "CobVm: START dropped — unit hit MaxConcurrentThreadsPerUnit ("
                                << kMaxConcurrentThreadsPerUnit
                                << "). Likely a recursive Create chain.";
    if (full || script >= instance_.file().scripts.size()) return thread_.stack.drop(count);
    std::vector<std::int32_t> locals(std::min<std::size_t>(count, kMaxLocalsPerFrame));
    thread_.stack.popInto(locals);
    thread_.stack.drop(count - locals.size());
    auto started = instance_.newThread(script, locals);
    started->signalMask = thread_.signalMask;
    instance_.pending.push_back(std::move(started));
}

void Execution::call() {
    const std::uint32_t script = operands_[0];
    const std::uint32_t count = operands_[1];
    record(wrapped(script), wrapped(count));
    const auto& scripts = instance_.file().scripts;
    if (script >= scripts.size() || thread_.returnPcs.size() >= kMaxCallDepth)
        return thread_.stack.drop(count);
    thread_.returnPcs.push_back(thread_.pc);
    const std::span<std::int32_t> frame = thread_.frames.open(count);
    thread_.stack.popInto(frame);
    thread_.stack.drop(count - frame.size());
    thread_.pc = scripts[script].entry;
}

void Execution::ret() {
    const std::int32_t value = pop();
    if (thread_.returnPcs.empty()) {
        thread_.state = CobThreadState::finished;
        thread_.stack.clear();
    } else {
        thread_.pc = thread_.returnPcs.back();
        thread_.returnPcs.pop_back();
        thread_.frames.close();
    }
    push(value);
}

void endBySignal(CobThread& thread) {
    if (thread.state == CobThreadState::finished) return;
    thread.state = CobThreadState::finished;
    thread.wasSignalled = true;
}

void Execution::signal() {
    const std::int32_t signalBits = pop();
    if (signalBits == 0) return;
    const auto hears = [signalBits](const CobThread& t) {
        return (t.signalMask & signalBits) != 0;
    };
    // Masks of other threads do not change during a slice, so one pass for each bit is enough.
    if ((signalBits & ~thread_.sentSignals) != 0)
        for (const auto& other : instance_.threads)
            if (hears(*other)) endBySignal(*other);
    thread_.sentSignals |= signalBits;
    std::erase_if(instance_.pending, [&](const auto& other) { return hears(*other); });
    // A thread of a synchronous call is in no list.
    if (hears(thread_)) endBySignal(thread_);
}

void Execution::setSignalMask() {
    thread_.signalMask = pop();
    record(thread_.signalMask);
}

void Execution::attachUnit() {
    const std::int32_t unknown = pop();
    const std::int32_t piece = pop();
    const std::int32_t unit = pop();
    record(unit, piece, unknown);
    if (!instance_.callbacks.attachUnit) return;
    const std::uint32_t modelPiece = instance_.modelPieceIndex(bits(piece));
    instance_.callbacks.attachUnit(
        unit, modelPiece < instance_.pieces.size() ? wrapped(modelPiece) : kNoPiece, unknown);
}

void Execution::dropUnit() {
    const std::int32_t unit = pop();
    record(unit);
    if (instance_.callbacks.dropUnit) instance_.callbacks.dropUnit(unit);
}

void Execution::playSound() {
    const std::int32_t sound = pop();
    record(sound);
    if (instance_.callbacks.playSound) instance_.callbacks.playSound(sound);
}

}  // namespace

void executeInstruction(CobInstance& instance, CobThread& thread, Op op,
                        const std::uint32_t* operands) {
    Execution(instance, thread, op, operands).run();
}

void reportUnknownOpcode(CobInstance& instance, std::uint32_t word, std::uint32_t pc) {
    constexpr std::size_t kMaxReported = 4096;  // a file of noise holds a new one in every word
    auto& reported = instance.unknownOpcodes;
    if (reported.size() >= kMaxReported || !reported.insert(word).second) return;
    LogLine(LogLevel::warn) << fmt::format(
        "COB: unknown opcode 0x{:x} at pc={} (further occurrences silenced)", word, pc);
}

}  // namespace orb::unitview
