#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "cob/cob_line_span.h"

namespace orb::unitview {

/// Where the code of each line of a source begins; lines of included files do not count.
class CobLineStarts {
public:
    struct Start {
        std::uint32_t line = 0;
        std::uint32_t offset = 0;
    };

    explicit CobLineStarts(std::span<const CobLineSpan> spans);

    /// The line, or the next one that has code; none behind the last.
    std::optional<Start> atOrAfter(std::uint32_t line) const;

private:
    std::map<std::uint32_t, std::uint32_t> offsets_;
};

}  // namespace orb::unitview
