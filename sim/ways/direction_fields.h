#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "sim/ways/sectors.h"
#include "sim/workers.h"

namespace orb::sim {

/// Which way to go from each cell of a sector to one of them, by the shortest way inside it.
using DirectionField = std::array<std::uint8_t, kSectorCells>;

/// Fields that were needed lately. They do not depend on who goes where from there, so all who
/// cross a sector the same way share them. Derived from the grids of the classes.
class DirectionFields {
public:
    /// How many are kept from one tick to the next: 8 MiB. What one tick needs is there at the same
    /// time, however much it is.
    static constexpr std::size_t kMostFields = 8'192;

    struct Key {
        std::uint32_t movementClass = 0;
        std::uint32_t sector = 0;
        /// A cell, or the middle of a portal.
        SectorCell aim = 0;
        /// The straight step out through the portal, anywhere along it; `kHere` for the cell.
        std::uint8_t exit = kHere;
        /// Where it goes on beyond the portal, so that it is crossed on the side of that.
        Cell beyond = {};
        bool operator==(const Key&) const = default;
    };

    /// Begins a tick: fields that have not been needed for longest go while there are too many.
    void beginTick();
    /// Notes that a field is needed in this tick.
    void need(const Key& key);
    /// Computes those that are needed and not there; returns how many.
    std::size_t compute(std::span<const ClassGround> grounds, Workers& workers);
    /// One that was needed in this tick and is computed.
    const DirectionField& at(const Key& key) const;

    void dropSector(std::uint32_t movementClass, std::size_t sector);
    void dropAll();

    std::size_t count() const { return slots_.size() - free_.size(); }

private:
    struct Slot {
        Key key;
        std::uint64_t neededIn = 0;
        bool isUsed = false;
        DirectionField field{};
    };
    /// Slots.
    using Entries = std::vector<std::uint32_t>;

    Entries& entriesOf(const Key& key);
    Entries::const_iterator find(const Entries& entries, const Key& key) const;
    std::uint32_t takeSlot(const Key& key);
    void drop(std::uint32_t slot);

    std::uint64_t tick_ = 0;
    /// The fields of each sector of each class.
    std::vector<std::vector<Entries>> entries_;
    /// Stays where it is while it grows.
    std::deque<Slot> slots_;
    std::vector<std::uint32_t> free_;
    std::vector<std::uint32_t> missing_;
};

}  // namespace orb::sim
