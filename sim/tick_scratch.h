#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "sim/fight/damage.h"
#include "sim/ground/cell.h"
#include "sim/motion/flight.h"
#include "sim/numbers/angle.h"
#include "sim/sight/sight_scratch.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

/// What a builder does in a tick.
struct WorkWish {
    enum class Kind : std::uint8_t { build, repair, reclaim, capture };
    Kind kind = Kind::build;
    /// The unit that is worked on; none for a site where nothing stands yet.
    UnitRef target;
    /// The feature that is reclaimed.
    std::uint32_t feature = 0;
    /// Whose tools do it; none for the unit's own.
    UnitRef worker = {};
};

/// What a unit's order asks the later phases of this tick for.
struct UnitWish {
    /// Where motion should bring it; none is to stand.
    std::optional<GroundPoint> goal;
    /// Where all of its group go.
    GroundPoint gathering;
    /// What its weapons should attack: a unit, or a place where `target` is none.
    struct Attack {
        UnitRef target;
        Vector place;
        /// The weapon that is meant; -1 is all of them.
        std::int8_t slot = -1;
        /// One shot that is asked for by name, from weapons too that never fire by themselves. Who
        /// fires it sets `hasFired` of the unit's first order.
        bool isCommand = false;
    };
    std::optional<Attack> attack;
    FlightWish flight;
    std::optional<WorkWish> work;
    /// It is where it works, with its tools out, whether or not it works in this tick.
    bool isAtWork = false;
};

/// What motion would like to do with a unit: computed by many threads, applied in slot order.
struct MotionStep {
    Angle heading;
    Fixed speed;
    /// Where it goes first, so as to come round others.
    std::optional<GroundPoint> detour;
    /// On which side of its way that is: see `UnitMotion::hand`.
    std::int8_t hand = 0;
    /// Where its way ends, and how far that is in a straight line; none when it is not near.
    std::optional<GroundPoint> end;
    Fixed distance;
    /// The end is not the goal but the nearest place that can be reached.
    bool isElsewhere = false;
    /// It was taken, or turned: the unit lies on other ground than before.
    bool hasMoved = false;
};

/// The same of somebody who flies.
struct FlightStep {
    Angle heading;
    Angle pitch;
    Angle roll;
    Fixed speed;
    Fixed climb;
    Fixed altitude;
    GroundPoint place;
    bool isPassing = false;
    bool isThere = false;
    /// It leaves the ground.
    bool takesOff = false;
    /// It looked for a place to land, and what it found.
    bool hasLooked = false;
    std::optional<GroundPoint> site;
    /// Above its site: it begins to go down there.
    bool landsHere = false;
};

/// How a thread of a unit's script ended that a phase had started with a number.
struct EndedCall {
    std::uint32_t slot = 0;
    std::uint32_t callId = 0;
    std::int32_t value = 0;
    bool wasSignalled = false;
};

/// What a bench counts: work done, which time follows from.
struct WorkCounts {
    std::uint64_t scriptTicks = 0;
    std::uint64_t nodeVisits = 0;
    std::uint64_t cellsTested = 0;
    std::uint64_t pairs = 0;
    std::uint64_t steps = 0;
    /// Tiles that units looked at.
    std::uint64_t tilesSeen = 0;
};

/// A weapon that looks for a target, and what it found.
struct TargetSearch {
    std::uint32_t unit = 0;
    std::size_t weapon = 0;
    UnitRef target = {};
};

/// A unit that looks whom to go after, and whom it found.
struct ChaseSearch {
    std::uint32_t unit = 0;
    UnitRef enemy = {};
};

/// A worker's own: slots that a search has found, empty between searches, and how many it tested.
struct UnitFinder {
    std::vector<std::uint32_t> found;
    std::uint64_t pairs = 0;
};

/// What phases of one tick hand to later ones of the same tick. Nothing here lives on: it is empty
/// when a tick begins.
struct TickScratch {
    /// By slot.
    std::vector<UnitWish> wishes;
    std::vector<MotionStep> steps;
    std::vector<FlightStep> flights;
    /// By slot, and in the order of their births within a unit.
    std::vector<EndedCall> endedCalls;
    std::vector<TargetSearch> searches;
    std::vector<ChaseSearch> chases;
    std::vector<UnitFinder> finders;
    std::vector<Damage> damage;
    std::vector<Impact> impacts;
    std::vector<Death> deaths;
    /// Units and cells that explosions have looked at.
    std::uint64_t areaTests = 0;
    /// Slots that a search has found; empty between searches.
    std::vector<std::uint32_t> found;
    SightWork sight;
    WorkCounts counts;

    /// After births.
    void fit(std::size_t slotCount) {
        wishes.resize(slotCount);
        steps.resize(slotCount);
        flights.resize(slotCount);
    }

    void begin(std::size_t slotCount) {
        wishes.assign(slotCount, {});
        steps.assign(slotCount, {});
        flights.assign(slotCount, {});
        endedCalls.clear();
        searches.clear();
        chases.clear();
        damage.clear();
        impacts.clear();
        deaths.clear();
    }
};

}  // namespace orb::sim
