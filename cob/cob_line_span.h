#pragma once

#include <cstdint>

namespace orb::unitview {

/// Code that one line of script source was compiled to; both offsets belong to it. Line 0 stands
/// for code without a line.
struct CobLineSpan {
    std::uint32_t from = 0;
    std::uint32_t to = 0;
    std::uint32_t line = 0;
    /// The text that the line belongs to: 0 the source itself, else an included file, by its index
    /// in the list of files that comes with the spans.
    std::uint32_t file = 0;
};

}  // namespace orb::unitview
