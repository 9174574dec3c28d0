#include "sim/units/units.h"

#include <cassert>
#include <utility>

namespace orb::sim {

const Unit* Units::find(UnitRef ref) const {
    if (!ref || ref.slot >= slots_.size()) return nullptr;
    const Unit& unit = slots_[ref.slot].unit;
    return unit.id != 0 && unit.generation == ref.generation ? &unit : nullptr;
}

const Unit* Units::withId(std::int64_t id) const {
    if (id < 1 || id > static_cast<std::int64_t>(slots_.size())) return nullptr;
    return at(static_cast<std::size_t>(id - 1));
}

std::uint32_t Units::highestId() const {
    for (std::size_t slot = slots_.size(); slot > 0; --slot)
        if (at(slot - 1)) return static_cast<std::uint32_t>(slot);
    return 0;
}

/// The lowest one that has rested; else a new one; else the one that has rested longest.
std::size_t Units::freeSlot(Tick now) {
    std::optional<std::size_t> longest;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (at(i)) continue;
        if (now - slots_[i].freeSince >= kIdRest) return i;
        if (!longest || slots_[i].freeSince < slots_[*longest].freeSince) longest = i;
    }
    if (slots_.size() == kMaxUnits) return longest.value();
    slots_.emplace_back();
    return slots_.size() - 1;
}

Unit& Units::add(Tick now) {
    assert(!isFull());
    const std::size_t index = freeSlot(now);
    Slot& slot = slots_[index];
    slot.unit = Unit();
    slot.unit.id = static_cast<std::uint32_t>(index + 1);
    slot.unit.generation = ++slot.generation;
    ++count_;
    return slot.unit;
}

void Units::remove(Unit& unit, Tick now) {
    Slot& slot = slots_[unit.slot()];
    slot.unit = Unit();
    slot.freeSince = now;
    --count_;
}

}  // namespace orb::sim
