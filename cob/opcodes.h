#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

/// The instruction set of unit scripts. Everything that knows an instruction (interpreter, traces,
/// disassembler, compiler, lints) reads it from the one table here.
namespace orb::unitview {

/// Dense opcode ids, in the order of the table's rows. `unknown` stands for every other word.
enum class Op : std::uint8_t {
    unknown,
    move,
    turn,
    spin,
    stopSpin,
    show,
    hide,
    cache,
    dontCache,
    moveNow,
    turnNow,
    shade,
    dontShade,
    emitSfx,
    waitTurn,
    waitMove,
    sleep,
    pushConst,
    pushLocal,
    pushStatic,
    createLocal,
    popLocal,
    popStatic,
    pop,
    add,
    sub,
    mul,
    div,
    bitAnd,
    bitOr,
    bitXor,
    bitNot,
    rand,
    getUnitValue,
    get,
    less,
    lessOrEqual,
    greater,
    greaterOrEqual,
    equal,
    notEqual,
    logicalAnd,
    logicalOr,
    logicalXor,
    logicalNot,
    start,
    call,
    jump,
    ret,
    jumpIfZero,
    signal,
    setSignalMask,
    explode,
    set,
    attachUnit,
    dropUnit,
    playSound,
};
inline constexpr std::size_t kOpCount = static_cast<std::size_t>(Op::playSound) + 1;

/// What an operand word of an instruction means.
enum class Operand : std::uint8_t {
    none,
    piece,          ///< COB piece index
    axis,           ///< 0, 1, 2 for x, y, z
    value,          ///< signed constant
    local,          ///< index into the current frame
    staticVar,      ///< index into the unit's statics
    script,         ///< index into the file's scripts
    argumentCount,  ///< how many values a start or call pops
    target,         ///< word index into the code
};

/// How an instruction affects the order of execution.
enum class Flow : std::uint8_t {
    next,    ///< goes on with the next instruction
    jump,    ///< always continues at the target
    branch,  ///< continues at the target or with the next instruction
    call,    ///< continues at a script's entry and comes back
    start,   ///< goes on; a new thread begins at a script's entry
    ret,     ///< leaves the script
    wait,    ///< may end the slice until a motion is done
    sleep,   ///< ends the slice
};

inline constexpr std::size_t kMaxOperands = 2;
/// `pops` of start and call: as many as the argument count operand says.
inline constexpr std::int8_t kPopsArguments = -1;

/// One instruction.
struct OpcodeRow {
    Op op;
    std::uint32_t value;    ///< the opcode word
    std::string_view name;  ///< as traces and listings show it
    std::array<Operand, kMaxOperands> operands;
    std::int8_t pops;    ///< values taken from the stack, or kPopsArguments
    std::int8_t pushes;  ///< values left on it; for a call, what the callee's return leaves
    /// First word of the instruction's debugger trace entry; empty when it leaves none.
    std::string_view traceKind;
    Flow flow;

    constexpr std::size_t operandCount() const {
        return operands[0] == Operand::none ? 0U : operands[1] == Operand::none ? 1U : 2U;
    }
    /// Words that the instruction takes in the code.
    constexpr std::size_t length() const { return 1 + operandCount(); }
    constexpr bool isJump() const { return flow == Flow::jump || flow == Flow::branch; }
    constexpr bool isWait() const { return flow == Flow::wait; }
};

/// All rows in the order of `Op`; the first one is the placeholder for unknown words.
std::span<const OpcodeRow, kOpCount> opcodeTable();

/// The row of `op`.
const OpcodeRow& opcodeRow(Op op);

/// The instruction that an opcode word stands for, or Op::unknown; takes constant time.
Op opOf(std::uint32_t word);

inline constexpr std::array<std::string_view, 3> kAxisNames = {"x-axis", "y-axis", "z-axis"};

/// The name of the axis taken modulo 3.
constexpr std::string_view axisName(std::uint32_t axis) {
    return kAxisNames.at(axis % kAxisNames.size());
}

}  // namespace orb::unitview
