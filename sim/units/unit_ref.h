#pragma once

#include <cstdint>

namespace orb::sim {

/// One unit, whatever comes to its slot after it: a reference to a unit that is gone finds none.
/// What the world remembers of a unit over ticks is always this; ids are for scripts and requests.
struct UnitRef {
    std::uint32_t slot = 0;
    /// Counts the owners of the slot from 1; 0 is no unit.
    std::uint32_t generation = 0;

    explicit operator bool() const { return generation != 0; }
    bool operator==(const UnitRef&) const = default;
};

template <typename Visit>
void eachField(const UnitRef& ref, Visit visit) {
    visit("slot", ref.slot);
    visit("generation", ref.generation);
}
static_assert(sizeof(UnitRef) == 8);

}  // namespace orb::sim
