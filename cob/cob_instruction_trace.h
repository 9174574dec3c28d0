#pragma once

#include <string>

#include "cob/cob_instance.h"

namespace orb::unitview {

/// The line that describes the instruction a thread is about to execute; empty for a read of a unit
/// value, whose line needs the result. A value that cannot be read shows as -999.
std::string instructionTraceLine(const CobInstance& instance, const CobThread& thread, Op op,
                                 const std::uint32_t* operands);

/// The line for a unit value just read.
std::string unitValueTraceLine(std::int32_t id, std::int32_t value);

/// Writes a line to standard error as it is: no time, no level.
void printTraceLine(const std::string& line);

}  // namespace orb::unitview
