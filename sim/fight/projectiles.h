#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sim/fight/weapon_state.h"
#include "sim/fight/weapon_type.h"
#include "sim/ground/conditions.h"
#include "sim/numbers/angle.h"
#include "sim/orders/order.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

struct WorldParts;
struct Unit;

inline constexpr std::size_t kMaxProjectiles = 20'000;

/// Something that was fired and flies: plain data.
struct Projectile {
    /// From 1; never used again.
    std::uint32_t id = 0;
    std::shared_ptr<const WeaponType> weapon;
    UnitRef owner;
    std::int32_t player = 1;
    Vector place;
    /// Pixels a tick, in each direction.
    Vector velocity;
    Fixed speed;
    /// What it is meant for, and where that is or was last.
    UnitRef target;
    /// The id of the shot that it is meant for, 0 for none.
    std::uint32_t targetShot = 0;
    Vector aim;
    Fixed travelled;
    /// What climbs has reached its height when it is below this no longer.
    Fixed climbsTo;
    Tick bornAt = 0;
    Tick endsAt = 0;
    /// What it has hit on its way through: all units, and the last feature by its id.
    std::vector<UnitRef> pierced;
    std::uint32_t piercedFeature = 0;
};

template <typename Visit>
void eachField(const Projectile& shot, Visit visit) {
    visit("id", shot.id);
    visit("weapon", shot.weapon);
    visit("owner", shot.owner);
    visit("player", shot.player);
    visit("place", shot.place);
    visit("velocity", shot.velocity);
    visit("speed", shot.speed);
    visit("target", shot.target);
    visit("targetShot", shot.targetShot);
    visit("aim", shot.aim);
    visit("travelled", shot.travelled);
    visit("climbsTo", shot.climbsTo);
    visit("bornAt", shot.bornAt);
    visit("endsAt", shot.endsAt);
    visit("pierced", shot.pierced);
    visit("piercedFeature", shot.piercedFeature);
}
static_assert(sizeof(Projectile) == 136);

/// By birth.
struct Projectiles {
    std::vector<Projectile> all;
    std::uint32_t lastId = 0;
    /// Shots that found `kMaxProjectiles` in the air.
    std::uint32_t refused = 0;
};

template <typename Visit>
void eachField(const Projectiles& projectiles, Visit visit) {
    visit("all", projectiles.all);
    visit("lastId", projectiles.lastId);
    visit("refused", projectiles.refused);
}

/// What a tick adds to the speed of what falls.
Fixed fallPerTick(const Conditions& conditions);

/// One shot as it leaves its muzzle.
struct Launch {
    std::shared_ptr<const WeaponType> weapon;
    Vector muzzle;
    Angle heading;
    Angle pitch;
    UnitRef target;
    Vector aim;
    /// Numbers the shots of a unit within a tick.
    std::uint32_t count = 0;
    /// The id of the shot that it is meant for, 0 for none.
    std::uint32_t targetShot = 0;
};

/// Sends a shot of a unit on its way.
void launch(WorldParts& world, const Unit& owner, const Launch& shot);

}  // namespace orb::sim
