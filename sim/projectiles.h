#pragma once

#include <cstdint>
#include <vector>

#include "sim/fixed.h"
#include "sim/order.h"
#include "sim/unit_ref.h"

namespace orb::sim {

inline constexpr std::size_t kMaxProjectiles = 20'000;

/// Something that was fired and flies: plain data.
struct Projectile {
    /// From 1; never used again.
    std::uint32_t id = 0;
    Vector place;
    UnitRef owner;
};

template <typename Visit>
void eachField(const Vector& vector, Visit visit) {
    visit("x", vector.x);
    visit("y", vector.y);
    visit("z", vector.z);
}

template <typename Visit>
void eachField(const Projectile& projectile, Visit visit) {
    visit("id", projectile.id);
    visit("place", projectile.place);
    visit("owner", projectile.owner);
}

/// By birth.
struct Projectiles {
    std::vector<Projectile> all;
    std::uint32_t lastId = 0;
};

template <typename Visit>
void eachField(const Projectiles& projectiles, Visit visit) {
    visit("all", projectiles.all);
    visit("lastId", projectiles.lastId);
}

}  // namespace orb::sim
