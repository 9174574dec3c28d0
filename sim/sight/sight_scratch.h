#pragma once

#include <cstdint>
#include <vector>

#include "sim/sight/line_of_sight.h"
#include "sim/sight/radar.h"

namespace orb::sim {

/// A unit that looks around.
struct LookAround {
    std::uint32_t slot = 0;
    Look look;
    /// Tiles looked at.
    std::uint64_t tested = 0;
};

/// What the phase of sight works on. Kept from tick to tick for its room; filled anew before it is
/// read.
struct SightWork {
    std::vector<Emitter> emitters;
    std::vector<Sweep> sweeps;
    std::vector<LookAround> looks;
    /// By look.
    std::vector<std::vector<TileRun>> seen;
    /// By worker.
    std::vector<SightScratch> workers;
};

}  // namespace orb::sim
