#include "sim/ways/direction_fields.h"

#include <algorithm>
#include <cstdlib>

namespace orb::sim {
namespace {

constexpr std::size_t kFieldsPerBlock = 4;

/// Of the way beyond a portal so much counts where it is crossed. With all of it, those who come
/// side by side would draw together to the shortest line already here; with none, they would turn
/// only behind the border.
constexpr std::uint32_t kBeyondPart = 7, kBeyondWhole = 8;

std::uint32_t leastBetween(Cell a, Cell b) {
    return leastLength(static_cast<std::uint32_t>(std::abs(a.x - b.x)),
                       static_cast<std::uint32_t>(std::abs(a.z - b.z)));
}

/// The cells in which a portal can be crossed, by the length of the way beyond.
std::vector<SectorSearch::Aim> aimsOf(const ClassGrid& grid, Cell middle,
                                      const DirectionFields::Key& key) {
    const Cell across = kSteps[key.exit];
    const Cell along{std::abs(across.z), std::abs(across.x)};
    std::vector<SectorSearch::Aim> aims;
    const auto add = [&](Cell cell) {
        const bool isOpen = grid.fits(cell) && grid.fits({cell.x + across.x, cell.z + across.z}) &&
                            cell.x / kSectorSide == middle.x / kSectorSide &&
                            cell.z / kSectorSide == middle.z / kSectorSide;
        if (isOpen)
            aims.push_back({SectorLayout::inSector(cell),
                            leastBetween(cell, key.beyond) * kBeyondPart / kBeyondWhole});
        return isOpen;
    };
    for (Cell cell = middle; add(cell); cell = {cell.x + along.x, cell.z + along.z}) continue;
    for (Cell cell{middle.x - along.x, middle.z - along.z}; add(cell);
         cell = {cell.x - along.x, cell.z - along.z})
        continue;
    std::ranges::stable_sort(aims, {}, &SectorSearch::Aim::length);
    return aims;
}

void computeField(const ClassGround& ground, const DirectionFields::Key& key, SectorSearch& search,
                  DirectionField& field) {
    const SectorLayout& layout = ground.graph.layout();
    search.load(ground.grid, layout.cells(key.sector));
    const bool isCell = key.exit == kHere;
    search.run(isCell ? std::vector<SectorSearch::Aim>{{key.aim, 0}}
                      : aimsOf(ground.grid, layout.onMap(key.sector, key.aim), key));
    for (SectorCell cell = 0; cell < kSectorCells; ++cell) {
        const std::uint8_t direction = search.direction(cell);
        field[cell] = direction == kHere ? key.exit : direction;
    }
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
    if (const auto found = find(entries, key); found != entries.end()) {
        slots_[*found].neededIn = tick_;
        return;
    }
    const std::uint32_t slot = takeSlot(key);
    entries.push_back(slot);
    missing_.push_back(slot);
}

std::size_t DirectionFields::compute(std::span<const ClassGround> grounds, Workers& workers) {
    if (missing_.empty()) return 0;
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
    return slots_[*find(entries_[key.movementClass][key.sector], key)].field;
}

void DirectionFields::dropSector(std::uint32_t movementClass, std::size_t sector) {
    if (movementClass >= entries_.size() || sector >= entries_[movementClass].size()) return;
    const Entries entries = entries_[movementClass][sector];
    for (const std::uint32_t slot : entries) drop(slot);
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

DirectionFields::Entries::const_iterator DirectionFields::find(const Entries& entries,
                                                               const Key& key) const {
    return std::ranges::find_if(entries,
                                [&](std::uint32_t slot) { return slots_[slot].key == key; });
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
    std::erase(entries_[key.movementClass][key.sector], slot);
    slots_[slot].isUsed = false;
    free_.push_back(slot);
}

}  // namespace orb::sim
