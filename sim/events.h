#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "sim/ground/site.h"
#include "sim/numbers/fixed.h"
#include "sim/numbers/tick.h"
#include "sim/orders/order.h"
#include "sim/units/unit_type.h"

namespace orb::sim {

// What can happen, a struct each. Names are those of the game's data; a piece is an index into the
// pieces of the unit that the event names, -1 for none.

/// An order came to its end. `hasReached` is false when its place cannot be reached and the unit
/// stands as near as it could get.
struct OrderDone {
    OrderKind order{};
    bool hasReached = true;
};

enum class OrderFailure : std::uint8_t {
    blocked,
    targetGone,
    noWay,
    cannotDo,
    cannotReach,
    unitLimit
};
struct OrderFailed {
    OrderKind order{};
    OrderFailure reason{};
    /// What is wrong with the site, for what cannot be built there.
    SiteFault fault{};
};

/// Something has stood in the unit's way for long.
struct Blocked {};

/// It is ready.
struct Built {};

struct Aimed {
    std::int32_t slot = 0;
};

enum class AimFailure : std::uint8_t { scriptRefused, noScript, outOfRange, noLine };
struct AimFailed {
    std::int32_t slot = 0;
    AimFailure reason{};
};

struct Fired {
    std::int32_t slot = 0;
    std::string weapon;
    Vector muzzle;
    std::int32_t piece = -1;
};

struct Hit {
    struct Victim {
        std::uint32_t unitId = 0;
        Amount damage;
    };
    std::string weapon;
    Vector place;
    /// The first of them.
    std::vector<Victim> damaged;
    /// How many more there are.
    std::size_t moreDamaged = 0;
};

struct Killed {
    std::int32_t severity = 0;
    std::int32_t corpseType = 0;
    /// The name of the corpse that it leaves, empty for none.
    std::string corpse;
};

struct CorpseLeft {
    std::uint32_t featureId = 0;
    std::string name;
};

struct FeatureGone {
    std::uint32_t featureId = 0;
};

/// A piece of the unit flies off.
struct Explode {
    std::int32_t piece = -1;
    std::int32_t flags = 0;
};

/// Smoke, fire, wake: what scripts emit.
struct Effect {
    std::int32_t piece = -1;
    std::int32_t type = 0;
    Vector place;
};

/// By the name of a file or, where a script plays it, by a number.
struct Sound {
    std::string name;
    std::int32_t number = -1;
};

/// The unit's script file lacks a script that the game asks for; told once a type and script.
struct ScriptMissing {
    std::string script;
};

struct FeatureBurns {
    std::uint32_t featureId = 0;
};

/// Its work stands still for want of metal or energy.
struct Stalled {};

using EventDetail = std::variant<OrderDone, OrderFailed, Blocked, Built, Aimed, AimFailed, Fired,
                                 Hit, Killed, CorpseLeft, FeatureGone, Explode, Effect, Sound,
                                 ScriptMissing, Stalled, FeatureBurns>;
inline constexpr std::size_t kEventKinds = std::variant_size_v<EventDetail>;

/// The place of an event's struct among the kinds is `kindOf<Fired>`.
template <typename Detail, std::size_t Index = 0>
constexpr std::size_t kindIndex() {
    if constexpr (std::is_same_v<std::variant_alternative_t<Index, EventDetail>, Detail>)
        return Index;
    else
        return kindIndex<Detail, Index + 1>();
}
template <typename Detail>
inline constexpr std::size_t kindOf = kindIndex<Detail>();

struct Event {
    Tick tick = 0;
    /// 0 for none.
    std::uint32_t unitId = 0;
    /// Of the unit's type: whose pieces the detail counts.
    std::shared_ptr<const UnitType> unitType;
    EventDetail detail;
};

}  // namespace orb::sim
