#pragma once

#include <cstdint>

namespace orb::unitview {

/// Code that one line of script source was compiled to; both offsets belong to it. Line 0 stands
/// for code without a line.
struct CobLineSpan {
    std::uint32_t from = 0;
    std::uint32_t to = 0;
    std::uint32_t line = 0;
};

}  // namespace orb::unitview
