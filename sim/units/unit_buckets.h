#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/units/units.h"

namespace orb::sim {

/// Which units are where: lists of slots for squares of the map. Derived from the units' places.
class UnitBuckets {
public:
    UnitBuckets(std::int32_t cellsX, std::int32_t cellsZ);

    void add(std::uint32_t slot, GroundPoint place);
    void remove(std::uint32_t slot, GroundPoint place);
    void move(std::uint32_t slot, GroundPoint from, GroundPoint to);
    /// From the beginning.
    void rebuild(const Units& units);

    /// Appends the slots of all units whose middle is no farther than `radius` from a place, in
    /// rising order; what `found` held before stays in front.
    void findWithin(const Units& units, GroundPoint place, Fixed radius,
                    std::vector<std::uint32_t>& found) const;

    /// Whether `holds(unit)` for one of those.
    template <typename Holds>
    bool anyWithin(const Units& units, GroundPoint place, Fixed radius, Holds holds) const {
        const std::uint64_t most = squaredLength(radius);
        for (std::int32_t z = row(place.z - radius); z <= row(place.z + radius); ++z)
            for (std::int32_t x = column(place.x - radius); x <= column(place.x + radius); ++x)
                for (const std::uint32_t slot : slots_[indexOf(x, z)]) {
                    const Unit& unit = *units.at(slot);
                    if (squaredDistance(unit.place.x, unit.place.z, place.x, place.z) <= most &&
                        holds(unit))
                        return true;
                }
        return false;
    }

private:
    std::size_t indexOf(std::int32_t column, std::int32_t row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
               static_cast<std::size_t>(column);
    }
    std::size_t bucketOf(GroundPoint place) const;
    std::int32_t column(Fixed x) const;
    std::int32_t row(Fixed z) const;

    std::int32_t columns_;
    std::int32_t rows_;
    std::vector<std::vector<std::uint32_t>> slots_;
};

}  // namespace orb::sim
