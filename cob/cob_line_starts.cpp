#include "cob/cob_line_starts.h"

#include <algorithm>

namespace orb::unitview {

CobLineStarts::CobLineStarts(std::span<const CobLineSpan> spans) {
    for (const CobLineSpan& span : spans) {
        if (span.file != 0 || span.line == 0 || span.from > span.to) continue;
        const auto [found, isNew] = offsets_.try_emplace(span.line, span.from);
        if (!isNew) found->second = std::min(found->second, span.from);
    }
}

std::optional<CobLineStarts::Start> CobLineStarts::atOrAfter(std::uint32_t line) const {
    const auto found = offsets_.lower_bound(line);
    if (found == offsets_.end()) return std::nullopt;
    return Start{found->first, found->second};
}

}  // namespace orb::unitview
