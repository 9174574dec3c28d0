#pragma once

#include <cstdint>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/numbers/tick.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

enum class OrderKind : std::uint8_t {
    move,
    patrol,
    stop,
    attack,
    fire,
    guard,
    repair,
    capture,
    load,
    unload,
    land,
    build,
    reclaim,
    activate,
    deactivate,
    cloak,
    decloak,
    moveState,
    fireState,
    selfDestruct,
    // What previews need; these act at once.
    damage,
    kill,
    finish,
    place,
    script,
    remove,
};

/// Who gave an order: somebody, the world so that it makes room, or the unit itself, which goes
/// after an enemy or comes back from that, or works beside its way. Only the ends of given ones are
/// told.
enum class OrderSource : std::uint8_t { given, sideStep, chase, chore };

/// One order in a unit's queue; the first one is being carried out.
struct Order {
    OrderKind kind = OrderKind::move;
    /// The weapon that attack and fire are about, -1 for all of them.
    std::int8_t slot = -1;
    /// The weapon that was told to has fired.
    bool hasFired = false;
    OrderSource source = OrderSource::given;
    /// Where to; where `target` is none, for attack and fire also what to.
    GroundPoint place = {};
    /// Where all go that were given the order together.
    GroundPoint gathering = {};
    /// Above the map's zero, for a place that is attacked: of water its surface.
    Fixed altitude = {};
    UnitRef target = {};
    std::uint32_t feature = 0;
    /// What is to be built: its place among the world's products.
    std::uint32_t product = 0;
    /// How many of them a factory still has to build.
    std::int32_t count = 0;

    bool operator==(const Order&) const = default;
};

/// Orders that one unit can have at a time.
inline constexpr std::size_t kMaxOrders = 256;

template <typename Visit>
void eachField(const GroundPoint& point, Visit visit) {
    visit("x", point.x);
    visit("z", point.z);
}

template <typename Visit>
void eachField(const Order& order, Visit visit) {
    visit("kind", order.kind);
    visit("slot", order.slot);
    visit("hasFired", order.hasFired);
    visit("source", order.source);
    visit("place", order.place);
    visit("gathering", order.gathering);
    visit("altitude", order.altitude);
    visit("target", order.target);
    visit("feature", order.feature);
    visit("product", order.product);
    visit("count", order.count);
}
static_assert(sizeof(Order) == 44);

}  // namespace orb::sim
