#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sim/numbers/tick.h"
#include "sim/orders/order.h"

namespace orb::sim {

struct WorldParts;

/// A feature that burns.
struct Fire {
    std::uint32_t feature = 0;
    Tick endsAt = 0;
    Tick sparksAt = 0;
    /// When it next hurts who stands by.
    Tick hurtsAt = 0;
};

template <typename Visit>
void eachField(const Fire& fire, Visit visit) {
    visit("feature", fire.feature);
    visit("endsAt", fire.endsAt);
    visit("sparksAt", fire.sparksAt);
    visit("hurtsAt", fire.hurtsAt);
}
static_assert(sizeof(Fire) == 16);

/// More do not burn at a time: the largest woods on maps have some thousands of trees.
inline constexpr std::size_t kMaxFires = 4'096;

/// All that burns, by rising id of the feature.
using Fires = std::vector<Fire>;

/// Sets a feature on fire if it can burn and does not yet.
void setOnFire(WorldParts& world, std::uint32_t feature);

/// What a hit does to a feature of a weapon that starts so many fires in a hundred hits. All hits
/// of one tick have the same luck.
void maySetOnFire(WorldParts& world, std::uint32_t feature, std::int32_t percent);

}  // namespace orb::sim
