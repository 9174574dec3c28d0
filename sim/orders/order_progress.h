#pragma once

#include <cstdint>

#include "sim/events.h"
#include "sim/units/unit.h"

namespace orb::sim {

/// How an order stands after its unit's wish was chosen.
struct OrderProgress {
    enum class Stage : std::uint8_t { underWay, done, unreached, failed };
    Stage stage = Stage::underWay;
    OrderFailure reason{};
    /// Why a site cannot be built on, where that is the reason.
    SiteFault fault = SiteFault::none;

    bool operator==(const OrderProgress&) const = default;
};

inline constexpr OrderProgress kUnderWay{};
inline constexpr OrderProgress kDone{OrderProgress::Stage::done};
inline constexpr OrderProgress kUnreached{OrderProgress::Stage::unreached};

constexpr OrderProgress failedFor(OrderFailure reason, SiteFault fault = SiteFault::none) {
    return {OrderProgress::Stage::failed, reason, fault};
}

/// Near enough to a place on the map.
inline bool isWithin(const Unit& unit, GroundPoint place, Fixed distance) {
    return squaredDistance(unit.place.x, unit.place.z, place.x, place.z) <= squaredLength(distance);
}

}  // namespace orb::sim
