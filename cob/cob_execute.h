#pragma once

#include "cob/cob_instance.h"

namespace orb::unitview {

/// Executes one instruction whose opcode and operands the thread's pc has already passed. A slice
/// goes on only while the thread stays runnable.
void executeInstruction(CobInstance& instance, CobThread& thread, Op op,
                        const std::uint32_t* operands);

/// Reports an unknown opcode word at `pc`, once per word and instance.
void reportUnknownOpcode(CobInstance& instance, std::uint32_t word, std::uint32_t pc);

}  // namespace orb::unitview
