#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "sim/ground/terrain.h"
#include "sim/sight/line_of_sight.h"
#include "sim/sight/senses.h"
#include "sim/units/players.h"

namespace orb::sim {

/// How many of a player's units see each tile, and which tiles each unit sees. Derived from the
/// units' looks.
class SightMap {
public:
    explicit SightMap(const Terrain& terrain);

    const TileHeights& ground() const { return ground_; }
    /// Whether hills hide what lies behind them; for looks that come after.
    void letHillsHide(bool hide) { ground_.hides = hide; }

    /// The tile of a place, which is on the map.
    std::int32_t tileOf(Fixed along) const { return along.floor() / kTilePixels; }
    /// For a player from 1.
    bool isSeen(std::int32_t player, std::int32_t tileX, std::int32_t tileZ) const;

    /// Gives a unit, by its slot, the tiles in `seen` in place of those that it saw, which `seen`
    /// has afterwards. For the player 0 that is nothing.
    void replace(std::uint32_t slot, std::int32_t player, std::vector<TileRun>& seen);
    void clear();

private:
    using Counts = std::vector<std::uint16_t>;

    struct Seen {
        std::int32_t player = 0;
        std::vector<TileRun> runs;
    };

    Counts& countsOf(std::int32_t player) { return counts_[static_cast<std::size_t>(player - 1)]; }
    std::size_t indexOf(std::int32_t x, std::int32_t z) const {
        return static_cast<std::size_t>(z) * static_cast<std::size_t>(ground_.width) +
               static_cast<std::size_t>(x);
    }

    TileHeights ground_;
    /// By player; empty for those who have never seen anything.
    std::array<Counts, kPlayerCount> counts_;
    std::vector<Seen> bySlot_;
};

}  // namespace orb::sim
