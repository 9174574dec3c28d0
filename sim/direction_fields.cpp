#include "sim/direction_fields.h"

#include <algorithm>

namespace orb::sim {
namespace {

constexpr std::size_t kFieldsPerBlock = 4;

void computeField(const ClassGround& ground, const DirectionFields::Key& key, SectorSearch& search,
                  DirectionField& field) {
    search.load(ground.grid, ground.graph.layout().cells(key.sector));
    const SectorSearch::Aim aim{key.aim, 0};
    search.run({&aim, 1});
    for (SectorCell cell = 0; cell < kSectorCells; ++cell) field[cell] = search.direction(cell);
}

}  // namespace

void DirectionFields::beginTick() {
    ++tick_;
    missing_.clear();
    if (count() <= kMostFields) return;
    std::vector<std::uint32_t> used;
    for (std::uint32_t slot = 0; slot < slots_.size(); ++slot)
        if (slots_[slot].isUsed) used.push_back(slot);
    // Some more than there are too many, so that this does not come in every tick.
    const std::size_t many = used.size() - kMostFields + kMostFields / 8;
    std::ranges::nth_element(used, used.begin() + static_cast<std::ptrdiff_t>(many), {},
                             [&](std::uint32_t slot) { return slots_[slot].neededIn; });
    for (std::size_t i = 0; i < many; ++i) drop(used[i]);
}

void DirectionFields::need(const Key& key) {
    Entries& entries = entriesOf(key);
    const auto found = std::ranges::find(entries, key.aim, &Entry::aim);
    if (found != entries.end()) {
        slots_[found->slot].neededIn = tick_;
        return;
    }
    const std::uint32_t slot = takeSlot(key);
    entries.push_back({key.aim, slot});
    missing_.push_back(slot);
}

std::size_t DirectionFields::compute(std::span<const ClassGround> grounds, Workers& workers) {
    std::vector<SectorSearch> searches(workers.count());
    workers.forEach(missing_.size(), kFieldsPerBlock, [&](std::size_t i, std::size_t worker) {
        Slot& slot = slots_[missing_[i]];
        computeField(grounds[slot.key.movementClass], slot.key, searches[worker], slot.field);
    });
    const std::size_t computed = missing_.size();
    missing_.clear();
    return computed;
}

const DirectionField& DirectionFields::at(const Key& key) const {
    const Entries& entries = entries_[key.movementClass][key.sector];
    return slots_[std::ranges::find(entries, key.aim, &Entry::aim)->slot].field;
}

void DirectionFields::dropSector(std::uint32_t movementClass, std::size_t sector) {
    if (movementClass >= entries_.size() || sector >= entries_[movementClass].size()) return;
    const Entries entries = entries_[movementClass][sector];
    for (const Entry& entry : entries) drop(entry.slot);
}

void DirectionFields::dropAll() {
    entries_.clear();
    slots_.clear();
    free_.clear();
    missing_.clear();
}

DirectionFields::Entries& DirectionFields::entriesOf(const Key& key) {
    if (entries_.size() <= key.movementClass) entries_.resize(key.movementClass + 1);
    auto& sectors = entries_[key.movementClass];
    if (sectors.size() <= key.sector) sectors.resize(key.sector + 1);
    return sectors[key.sector];
}

std::uint32_t DirectionFields::takeSlot(const Key& key) {
    std::uint32_t slot = 0;
    if (free_.empty()) {
        slot = static_cast<std::uint32_t>(slots_.size());
        slots_.emplace_back();
    } else {
        slot = free_.back();
        free_.pop_back();
    }
    slots_[slot].key = key;
    slots_[slot].neededIn = tick_;
    slots_[slot].isUsed = true;
    return slot;
}

void DirectionFields::drop(std::uint32_t slot) {
    const Key& key = slots_[slot].key;
    std::erase_if(entries_[key.movementClass][key.sector],
                  [&](const Entry& entry) { return entry.slot == slot; });
    slots_[slot].isUsed = false;
    free_.push_back(slot);
}

}  // namespace orb::sim
