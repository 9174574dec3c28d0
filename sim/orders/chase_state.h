#pragma once

#include <string_view>

#include "sim/ground/cell.h"
#include "sim/numbers/tick.h"

namespace orb::sim {

/// What somebody remembers who goes after enemies by himself.
struct UnitChase {
    /// Where he was before, and comes back to who goes after them only a little.
    GroundPoint home = {};
    bool isAway = false;
    /// He did not get at somebody, and goes after nobody before this tick.
    Tick restsUntil = 0;

    bool operator==(const UnitChase&) const = default;
};

template <typename Visit>
void eachField(const UnitChase& chase, Visit visit) {
    visit("home", chase.home);
    visit("isAway", chase.isAway);
    visit("restsUntil", chase.restsUntil);
}
static_assert(sizeof(UnitChase) == 16);

}  // namespace orb::sim
