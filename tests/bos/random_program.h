#pragma once

#include <cstdint>
#include <string>

namespace orb::unitview::bos::testing {

/// A valid source made by chance, the same for the same seed: all statements and operators, nested
/// blocks, locals and statics, calls with arguments.
std::string randomProgram(std::uint32_t seed);

}  // namespace orb::unitview::bos::testing
