#pragma once

#include <cstdint>

namespace orb::sim {

struct Unit;
struct WorldParts;
struct Price;

/// What a weapon has made ahead that fires only what is there.
struct Stockpile {
    std::int32_t shots = 0;
    /// The work that has gone into the next one.
    std::int64_t done = 0;

    bool operator==(const Stockpile&) const = default;
};

template <typename Visit>
void eachField(const Stockpile& stockpile, Visit visit) {
    visit("shots", stockpile.shots);
    visit("done", stockpile.done);
}
static_assert(sizeof(Stockpile) == 16);

/// What a unit's stockpiles ask for in a tick.
Price stockpilePrice(const WorldParts& world, const Unit& unit);

/// Makes shots, as far as they are paid for: each takes the time that its weapon reloads, and costs
/// what a shot does, in proportion.
void fillStockpiles(WorldParts& world);

}  // namespace orb::sim
