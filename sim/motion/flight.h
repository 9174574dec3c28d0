#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "sim/ground/cell.h"
#include "sim/numbers/tick.h"

namespace orb::sim {

/// How a unit flies. Lengths in map pixels.
struct AirLimits {
    /// How high above ground and water.
    Fixed cruiseHeight;
    /// That height is counted from the sea instead, wherever the ground allows it.
    bool isFromSeaLevel = false;
    /// It can stay over a place and attack from there; others fly over what they attack and circle
    /// where they have to wait.
    bool hovers = false;
    /// How far it flies on after it has passed what it attacks.
    Fixed runLength;
    /// How much it tilts in turns, and when it climbs; 0 is not at all.
    Fixed bankScale;
    Fixed pitchScale;
    /// The speeds from which on its script is told MoveRate2 and MoveRate3; 0 for none.
    std::array<Fixed, 2> moveRates = {};
};

enum class FlightStage : std::uint8_t {
    landed,
    flying,
    /// Straight down onto its site, whose cells it has already.
    landing,
    /// On a landing pad, with which it moves.
    perched,
};

/// How a unit that can fly does.
struct UnitFlight {
    FlightStage stage = FlightStage::landed;
    /// It has passed what it attacks, and goes straight on before it turns round.
    bool isPassing = false;
    /// It has nowhere to go and stays near `anchor`.
    bool isWaiting = false;
    /// It is on its way to land at `site`.
    bool hasSite = false;
    /// It has looked for one since it waits.
    bool hasLooked = false;
    /// Which MoveRate its script was last told; 0 for none.
    std::int8_t toldRate = 0;
    /// Upwards, in pixels a tick.
    Fixed climb;
    GroundPoint anchor;
    GroundPoint site;
    /// When it looks for a place to land.
    Tick looksAt = 0;

    bool operator==(const UnitFlight&) const = default;
};

template <typename Visit>
void eachField(const UnitFlight& flight, Visit visit) {
    visit("stage", flight.stage);
    visit("isPassing", flight.isPassing);
    visit("isWaiting", flight.isWaiting);
    visit("hasSite", flight.hasSite);
    visit("hasLooked", flight.hasLooked);
    visit("toldRate", flight.toldRate);
    visit("climb", flight.climb);
    visit("anchorX", flight.anchor.x);
    visit("anchorZ", flight.anchor.z);
    visit("siteX", flight.site.x);
    visit("siteZ", flight.site.z);
    visit("looksAt", flight.looksAt);
}
static_assert(sizeof(UnitFlight) == 32);

/// What somebody who flies does at his goal.
enum class FlightManner : std::uint8_t {
    stop,
    /// Stays where it is, whatever the goal.
    hold,
    /// Goes on to the next without slowing down.
    pass,
    /// Flies over it, and on, and comes back.
    run,
    circle,
};

/// What an order asks of somebody who flies, besides the goal.
struct FlightWish {
    FlightManner manner = FlightManner::stop;
    /// What it turns to where it stops.
    std::optional<GroundPoint> faced;
    /// How high above the map's zero; without it as high as it cruises.
    std::optional<Fixed> altitude;
};

}  // namespace orb::sim
