#include "cob/cob_instruction_trace.h"

#include <cstdio>

#include <fmt/format.h>

#include "cob/cob_animation.h"
#include "cob/cob_units.h"
#include "cob/wrapping.h"

namespace orb::unitview {
namespace {

constexpr std::int32_t kUnreadable = -999;

/// The state that a line is made from.
struct Context {
    const CobInstance& instance;
    const CobThread& thread;
    const OpcodeRow& row;
    const std::uint32_t* operands;

    /// The value that the instruction pops as number `index`.
    std::int32_t popped(std::size_t index) const {
        const auto words = thread.stack.words();
        return index < words.size() ? words[words.size() - 1 - index] : 0;
    }
    std::int32_t top() const { return thread.stack.empty() ? kUnreadable : popped(0); }
    std::int32_t local() const {
        const auto frame = thread.frames.frame(thread.frames.count() - 1);
        return operands[0] < frame.size() ? frame[operands[0]] : kUnreadable;
    }
    std::int32_t staticVar() const {
        const auto& statics = instance.statics;
        return operands[0] < statics.size() ? statics[operands[0]] : kUnreadable;
    }
    std::string indexed(std::string_view link, std::int32_t value) const {
        return fmt::format("  [t{}] {} [{}]{}{}", instance.tick, row.name, operands[0], link,
                           value);
    }
};

/// "  [t5] MOVE torso (cob1->mdl2) axis=0": piece and axis of a motion.
std::string motionHead(const Context& c, std::string_view arrow) {
    return fmt::format("  [t{}] {} {} (cob{}{}mdl{}) axis={}", c.instance.tick, c.row.name,
                       pieceLabel(c.instance.file(), c.operands[0]), wrapped(c.operands[0]), arrow,
                       wrapped(c.instance.modelPieceIndex(c.operands[0])), wrapped(c.operands[1]));
}

/// Speeds are shown per second.
std::string motionLine(const Context& c) {
    constexpr float kOneTick = 1.0F;
    const std::size_t axis = c.operands[1];
    if (c.row.op == Op::move)
        return fmt::format("{} to={:.2f} speed={:.2f}", motionHead(c, "->"),
                           offsetForAxis(c.popped(0), axis),
                           moveSpeedPerTick(c.popped(1), kOneTick));
    if (c.row.op == Op::turn) {
        const float radians = angleForAxis(c.popped(0), axis);
        return fmt::format("{} to={:.2f}rad ({:.1f}deg) speed={:.2f}", motionHead(c, "->"), radians,
                           radians * kDegreesPerRadian, turnSpeedPerTick(c.popped(1), kOneTick));
    }
    return fmt::format("{} cobSpeed={} cobAccel={} → {:.1f} deg/sec", motionHead(c, "→"),
                       c.popped(0), c.popped(1),
                       spinSpeedPerTick(c.popped(0), kOneTick) * kDegreesPerRadian);
}

/// Name and operands, for instructions without a form of their own; waits show their name only.
std::string generalLine(const Context& c) {
    std::string line = fmt::format("  [t{}] {}", c.instance.tick, c.row.name);
    if (c.row.isWait()) return line;
    for (std::size_t i = 0; i < c.row.operandCount(); ++i)
        line += fmt::format(" {}", c.operands[i]);
    return line;
}

}  // namespace

std::string instructionTraceLine(const CobInstance& instance, const CobThread& thread, Op op,
                                 const std::uint32_t* operands) {
    const Context c{instance, thread, opcodeRow(op), operands};
    switch (op) {
        case Op::getUnitValue:
        case Op::sleep:
            return {};  // the executed instruction prints its own line
        case Op::pushConst:
            return fmt::format("  [t{}] PUSH_CONST {}", instance.tick, wrapped(operands[0]));
        case Op::pushLocal:
            return c.indexed("=", c.local());
        case Op::pushStatic:
            return c.indexed("=", c.staticVar());
        case Op::popLocal:
        case Op::popStatic:
            return c.indexed("<-", c.top());
        case Op::move:
        case Op::turn:
        case Op::spin:
            return motionLine(c);
        case Op::set:
            return fmt::format("  COB SET id={} val={}", c.popped(1), c.popped(0));
        case Op::call:
        case Op::start:
            return fmt::format("  COB {} func={} ({}) params={}", op == Op::call ? "CALL" : "START",
                               operands[0], scriptLabel(instance.file(), operands[0]), operands[1]);
        case Op::jumpIfZero:
            return fmt::format("  COB JUMP_IF_ZERO cond={} target={} {}", c.popped(0), operands[0],
                               c.popped(0) == 0 ? "TAKEN" : "NOT TAKEN");
        case Op::playSound:
            return fmt::format("  COB PLAY_SOUND id={}", c.popped(0));
        case Op::unknown:
            return {};
        default:
            return generalLine(c);
    }
}

std::string unitValueTraceLine(std::int32_t id, std::int32_t value) {
    return fmt::format("  COB GET_UNIT_VALUE id={} -> {}", id, value);
}

void printTraceLine(const std::string& line) {
    if (line.empty()) return;
    std::fputs((line + "\n").c_str(), stderr);
}

}  // namespace orb::unitview
