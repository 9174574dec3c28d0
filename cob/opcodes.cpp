#include "cob/opcodes.h"

namespace orb::unitview {
namespace {

// An instruction is its opcode word followed by its operand words, all 32 bits wide.
// clang-format off
constexpr std::array<OpcodeRow, kOpCount> kTable = {{
    // op                value       name                operands                                    pops push  trace kind        flow
    {Op::unknown,        0,          "unknown",          {},                                             0, 0, "",                Flow::next},
    {Op::move,           0x10001000, "MOVE",             {Operand::piece, Operand::axis},                2, 0, "move",            Flow::next},
    {Op::turn,           0x10002000, "TURN",             {Operand::piece, Operand::axis},                2, 0, "turn",            Flow::next},
    {Op::spin,           0x10003000, "SPIN",             {Operand::piece, Operand::axis},                2, 0, "spin",            Flow::next},
    {Op::stopSpin,       0x10004000, "stop-spin",        {Operand::piece, Operand::axis},                1, 0, "stop-spin",       Flow::next},
    {Op::show,           0x10005000, "show",             {Operand::piece},                               0, 0, "show",            Flow::next},
    {Op::hide,           0x10006000, "hide",             {Operand::piece},                               0, 0, "hide",            Flow::next},
    {Op::cache,          0x10007000, "cache",            {Operand::piece},                               0, 0, "",                Flow::next},
    {Op::dontCache,      0x10008000, "dont-cache",       {Operand::piece},                               0, 0, "",                Flow::next},
    {Op::moveNow,        0x1000B000, "move-now",         {Operand::piece, Operand::axis},                1, 0, "move-now",        Flow::next},
    {Op::turnNow,        0x1000C000, "turn-now",         {Operand::piece, Operand::axis},                1, 0, "turn-now",        Flow::next},
    {Op::shade,          0x1000D000, "shade",            {Operand::piece},                               0, 0, "",                Flow::next},
    {Op::dontShade,      0x1000E000, "dont-shade",       {Operand::piece},                               0, 0, "",                Flow::next},
    {Op::emitSfx,        0x1000F000, "EMIT_SFX",         {Operand::piece},                               1, 0, "emit-sfx",        Flow::next},
    {Op::waitTurn,       0x10011000, "WAIT_TURN",        {Operand::piece, Operand::axis},                0, 0, "wait-turn",       Flow::wait},
    {Op::waitMove,       0x10012000, "WAIT_MOVE",        {Operand::piece, Operand::axis},                0, 0, "wait-move",       Flow::wait},
    {Op::sleep,          0x10013000, "sleep",            {},                                             1, 0, "sleep",           Flow::sleep},
    {Op::pushConst,      0x10021001, "PUSH_CONST",       {Operand::value},                               0, 1, "",                Flow::next},
    {Op::pushLocal,      0x10021002, "PUSH_LOCAL",       {Operand::local},                               0, 1, "",                Flow::next},
    {Op::pushStatic,     0x10021004, "PUSH_STATIC",      {Operand::staticVar},                           0, 1, "",                Flow::next},
    {Op::createLocal,    0x10022000, "create local",     {},                                             0, 0, "",                Flow::next},
    {Op::popLocal,       0x10023002, "POP_LOCAL",        {Operand::local},                               1, 0, "",                Flow::next},
    {Op::popStatic,      0x10023004, "POP_STATIC",       {Operand::staticVar},                           1, 0, "static",          Flow::next},
    {Op::pop,            0x10024000, "pop",              {},                                             1, 0, "",                Flow::next},
    {Op::add,            0x10031000, "add",              {},                                             2, 1, "",                Flow::next},
    {Op::sub,            0x10032000, "sub",              {},                                             2, 1, "",                Flow::next},
    {Op::mul,            0x10033000, "mul",              {},                                             2, 1, "",                Flow::next},
    {Op::div,            0x10034000, "div",              {},                                             2, 1, "",                Flow::next},
    {Op::bitAnd,         0x10035000, "and",              {},                                             2, 1, "",                Flow::next},
    {Op::bitOr,          0x10036000, "or",               {},                                             2, 1, "",                Flow::next},
    {Op::bitXor,         0x10037000, "xor",              {},                                             2, 1, "",                Flow::next},
    {Op::bitNot,         0x10038000, "not",              {},                                             1, 1, "",                Flow::next},
    {Op::rand,           0x10041000, "rand",             {},                                             2, 1, "",                Flow::next},
    {Op::getUnitValue,   0x10042000, "GET_UNIT_VALUE",   {},                                             1, 1, "",                Flow::next},
    {Op::get,            0x10043000, "get",              {},                                             5, 1, "",                Flow::next},
    {Op::less,           0x10051000, "SET_LESS",         {},                                             2, 1, "",                Flow::next},
    {Op::lessOrEqual,    0x10052000, "less-or-equal",    {},                                             2, 1, "",                Flow::next},
    {Op::greater,        0x10053000, "SET_GREATER",      {},                                             2, 1, "",                Flow::next},
    {Op::greaterOrEqual, 0x10054000, "greater-or-equal", {},                                             2, 1, "",                Flow::next},
    {Op::equal,          0x10055000, "SET_EQUAL",        {},                                             2, 1, "",                Flow::next},
    {Op::notEqual,       0x10056000, "SET_NOT_EQUAL",    {},                                             2, 1, "",                Flow::next},
    {Op::logicalAnd,     0x10057000, "logical and",      {},                                             2, 1, "",                Flow::next},
    {Op::logicalOr,      0x10058000, "logical or",       {},                                             2, 1, "",                Flow::next},
    {Op::logicalXor,     0x10059000, "logical xor",      {},                                             2, 1, "",                Flow::next},
    {Op::logicalNot,     0x1005A000, "LOGICAL_NOT",      {},                                             1, 1, "",                Flow::next},
    {Op::start,          0x10061000, "start",            {Operand::script, Operand::argumentCount},     -1, 0, "start",           Flow::start},
    {Op::call,           0x10062000, "call",             {Operand::script, Operand::argumentCount},     -1, 1, "call",            Flow::call},
    {Op::jump,           0x10064000, "jump",             {Operand::target},                              0, 0, "",                Flow::jump},
    {Op::ret,            0x10065000, "RETURN",           {},                                             1, 0, "",                Flow::ret},
    {Op::jumpIfZero,     0x10066000, "JUMP_IF_ZERO",     {Operand::target},                              1, 0, "",                Flow::branch},
    {Op::signal,         0x10067000, "SIGNAL",           {},                                             1, 0, "",                Flow::next},
    {Op::setSignalMask,  0x10068000, "SET_SIGNAL_MASK",  {},                                             1, 0, "set-signal-mask", Flow::next},
    {Op::explode,        0x10071000, "explode",          {Operand::piece},                               1, 0, "explode",         Flow::next},
    {Op::set,            0x10082000, "set",              {},                                             2, 0, "set",             Flow::next},
    {Op::attachUnit,     0x10083000, "attach unit",      {},                                             3, 0, "attach unit",     Flow::next},
    {Op::dropUnit,       0x10084000, "drop unit",        {},                                             1, 0, "drop unit",       Flow::next},
    {Op::playSound,      0x10091000, "play-sound",       {},                                             1, 0, "play-sound",      Flow::next},
}};
// clang-format on

// An opcode is 0x10GGF00L: the bits GGF number the instruction, the low three of L its variant.
constexpr std::size_t kVariants = 8;
constexpr std::size_t kSlots = 0x92 * kVariants;

constexpr std::size_t slotOf(std::uint32_t word) {
    return ((word >> 12) & 0xFFU) * kVariants + (word & (kVariants - 1));
}

constexpr std::array<Op, kSlots> buildSlots() {
    std::array<Op, kSlots> slots{};
    for (std::size_t i = 1; i < kOpCount; ++i) slots[slotOf(kTable[i].value)] = kTable[i].op;
    return slots;
}
constexpr std::array<Op, kSlots> kOpBySlot = buildSlots();

constexpr bool tableIsConsistent() {
    for (std::size_t i = 0; i < kOpCount; ++i) {
        if (static_cast<std::size_t>(kTable[i].op) != i) return false;
        if (i > 0 && kOpBySlot[slotOf(kTable[i].value)] != kTable[i].op) return false;
    }
    return true;
}
static_assert(tableIsConsistent(), "rows stand in the order of Op and no two share a slot");

}  // namespace

std::span<const OpcodeRow, kOpCount> opcodeTable() {
    return kTable;
}

const OpcodeRow& opcodeRow(Op op) {
    return kTable.at(static_cast<std::size_t>(op));
}

Op opOf(std::uint32_t word) {
    const std::size_t slot = slotOf(word);
    if (slot >= kSlots) return Op::unknown;
    const Op op = kOpBySlot[slot];
    return op != Op::unknown && kTable[static_cast<std::size_t>(op)].value == word ? op
                                                                                   : Op::unknown;
}

}  // namespace orb::unitview
