#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orb::io {

/// Palette indices.
using IndexSet = std::bitset<256>;

/// Different sets of palette indices, each with a small number; 0 is the empty one.
class IndexSets {
public:
    using Id = std::uint16_t;
    /// More are std::runtime_error "too many different transparency indices".
    static constexpr std::size_t kMaxSets = 0x4000;

    const IndexSet& operator[](Id id) const { return sets_[id]; }
    std::size_t size() const { return sets_.size(); }

    Id with(Id id, std::uint8_t index) { return idOf(IndexSet(sets_[id]).set(index)); }

    Id united(Id a, Id b) {
        if (a == b || b == 0) return a;
        if (a == 0) return b;
        const auto [known, isNew] = unions_.try_emplace({a, b}, Id{0});
        if (isNew) known->second = idOf(sets_[a] | sets_[b]);
        return known->second;
    }

private:
    Id idOf(const IndexSet& set) {
        const auto [known, isNew] = ids_.try_emplace(set, static_cast<Id>(sets_.size()));
        if (isNew && sets_.size() == kMaxSets)
            throw std::runtime_error("too many different transparency indices");
        if (isNew) sets_.push_back(set);
        return known->second;
    }

    std::vector<IndexSet> sets_{{}};
    std::unordered_map<IndexSet, Id> ids_{{{}, 0}};
    std::map<std::pair<Id, Id>, Id> unions_;
};

}  // namespace orb::io
