#pragma once

#include <cstdint>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// Work is counted in these parts of what definitions count it in, so that a builder who is paid in
/// part gets on in part.
inline constexpr std::int64_t kWorkSteps = 256;

struct Price {
    Amount metal;
    Amount energy;
};

/// What belongs to `part` of `whole` equal parts: rounded down, so that the differences between the
/// parts from 0 to `whole` make up the amount exactly. `whole` is from 1 to 2^31, `part` no more.
Amount partOf(Amount amount, std::int64_t part, std::int64_t whole);

/// The work that makes a unit.
std::int64_t wholeWork(const UnitType& type);
/// The work after which a feature is reclaimed.
std::int64_t wholeWork(const FeatureType& type);

/// What a builder does in a tick when everything is paid.
std::int64_t fullWork(const UnitType& type);

/// The same for what a unit wishes to do, be it with somebody else's tools.
std::int64_t fullWork(const WorldParts& world, const Unit& unit, const WorkWish& wish);

/// What work of a player would cost that changes its target by so much; reclaiming costs nothing.
/// `work` is cut to what there is left to do.
Price priceOf(const WorldParts& world, std::int32_t player, const WorkWish& wish,
              std::int64_t& work);

/// The work of a player that counts towards a unit's capture; what others have done, and he has to
/// undo first, is below 0.
std::int64_t capturedSoFar(const WorldParts& world, const Unit& target, std::int32_t player);

/// The part of what was asked for that a unit gets for a price.
Fixed shareFor(const Player& player, const Price& price);

/// What of an amount a share pays, rounded down.
Amount partlyPaid(Amount amount, Fixed share);

Player& playerOf(WorldParts& world, const Unit& unit);

/// Finishes a unit whose last work was done: it is whole, and begins to act.
void completeUnit(WorldParts& world, Unit& unit);

/// Brings the unit's frame to so much work, with its health; it is `built` when that is all.
void setWork(Unit& unit, std::int64_t done);

}  // namespace orb::sim
