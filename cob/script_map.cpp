#include "cob/script_map.h"

#include <algorithm>
#include <iterator>

namespace orb::unitview {

ScriptMap::ScriptMap(const io::CobFile& file)
    : codeSize_(static_cast<std::uint32_t>(file.code.size())) {
    entries_.reserve(file.scripts.size());
    for (const io::CobFile::Script& script : file.scripts)
        entries_.push_back({script.entry, static_cast<std::uint32_t>(entries_.size())});
    std::ranges::stable_sort(entries_, {}, &Entry::at);
    const auto repeated = std::ranges::unique(entries_, {}, &Entry::at);
    entries_.erase(repeated.begin(), repeated.end());
}

std::uint32_t ScriptMap::endOf(std::uint32_t entry) const {
    const auto next = std::ranges::upper_bound(entries_, entry, {}, &Entry::at);
    return next == entries_.end() ? codeSize_ : next->at;
}

std::optional<std::size_t> ScriptMap::scriptAt(std::uint32_t pc) const {
    if (pc >= codeSize_) return std::nullopt;
    const auto next = std::ranges::upper_bound(entries_, pc, {}, &Entry::at);
    if (next == entries_.begin()) return std::nullopt;
    return std::prev(next)->script;
}

}  // namespace orb::unitview
