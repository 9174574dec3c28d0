#pragma once

#include <string>

#include "cob/opcodes.h"
#include "fuzzing.h"
#include "io/formats/cob_file.h"

namespace orb::fuzz {

/// An operand: mostly a small one of the range that operands of scripts have.
inline std::uint32_t operandFrom(Choices& choices, std::size_t codeSize) {
    const std::uint8_t small = choices.byte();
    if (small < 0x80) return small;
    if (small < 0xC0) return static_cast<std::uint32_t>(codeSize) + small - 0xA0;  // near by
    if (small < 0xF0) return static_cast<std::uint32_t>(small - 0xE0);             // signed
    return choices.word();
}

/// A script file from any bytes: as a file, or as a dense form of which nearly all inputs are
/// programs: one byte an instruction, so that small mutations keep the rest in step.
inline io::CobFile cobFrom(io::ByteView input) {
    constexpr std::size_t kMaxCode = 20'000;
    Choices choices(input);
    if (choices.flag()) return io::parseCob(choices.rest());

    io::CobFile cob;
    cob.staticVarCount = choices.byte();
    constexpr const char* kPieces[] = {"base", "arm", "", "BASE", "turn", "a \"b\"\n"};
    for (std::size_t i = choices.below(7); i-- > 0;) cob.pieces.emplace_back(kPieces[i]);
    constexpr const char* kScripts[] = {"Create", "Killed", "Aim", "", "aim", "if"};
    cob.scripts.push_back({kScripts[choices.below(6)], 0});
    const auto table = unitview::opcodeTable();
    while (!choices.isEmpty() && cob.code.size() < kMaxCode) {
        const std::uint8_t row = choices.byte();
        if (row >= 0xF8 && cob.scripts.size() < 40) {
            cob.scripts.push_back(
                {kScripts[row % 6],
                 row == 0xFF ? choices.byte() : static_cast<std::uint32_t>(cob.code.size())});
            continue;
        }
        const unitview::OpcodeRow& instruction = table[row % table.size()];
        cob.code.push_back(row % table.size() == 0 ? choices.word() : instruction.value);
        for (std::size_t i = 0; i < instruction.operandCount(); ++i)
            cob.code.push_back(operandFrom(choices, cob.code.size()));
    }
    return cob;
}

}  // namespace orb::fuzz
