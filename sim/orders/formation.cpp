#include "sim/orders/formation.h"

#include <algorithm>
#include <numeric>

#include "sim/motion/ground_motion.h"

namespace orb::sim {
namespace {

/// Places of the grid that are looked at for each unit, on average: beyond water and cliffs there
/// is hardly one that can be reached.
constexpr std::size_t kTriesPerUnit = 4;
constexpr std::size_t kMoreTries = 64;

/// Goes outwards from the middle of a grid, ring by ring.
class Spiral {
public:
    Cell next() {
        const Cell now = at_;
        at_ = {at_.x + step_.x, at_.z + step_.z};
        if (--left_ == 0) {
            step_ = {-step_.z, step_.x};
            if (step_.z == 0) ++side_;
            left_ = side_;
        }
        return now;
    }

private:
    Cell at_;
    Cell step_{1, 0};
    std::int32_t side_ = 1;
    std::int32_t left_ = 1;
};

std::int32_t spacing(std::span<Unit* const> units) {
    std::int32_t most = 1;
    for (const Unit* const unit : units)
        most = std::max({most, unit->type->footprintX, unit->type->footprintZ});
    return (most + 1) * kCellPixels;
}

std::vector<std::size_t> byDistance(std::span<Unit* const> units, GroundPoint place) {
    std::vector<std::size_t> order(units.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto distance = [&](std::size_t i) {
        return squaredDistance(units[i]->place.x, units[i]->place.z, place.x, place.z);
    };
    std::ranges::stable_sort(order, {}, distance);
    return order;
}

Cell cornerAt(const Unit& unit, GroundPoint place) {
    return footprintAt(place, unit.type->footprintX, unit.type->footprintZ).corner;
}

/// The unit can get there from the place, or where it cannot stand at that, from where it is.
bool isReachable(const WorldParts& world, const Unit& unit, GroundPoint place, GroundPoint wished) {
    for (const GroundPoint from : {place, unit.place})
        if (canStandAt(world, unit, from))
            return world.state.routes.areConnected(unit.motion.movementClass, cornerAt(unit, from),
                                                   cornerAt(unit, wished));
    return true;
}

}  // namespace

std::vector<GroundPoint> formation(const WorldParts& world, std::span<Unit* const> units,
                                   GroundPoint place) {
    std::vector<GroundPoint> places(units.size(), place);
    if (units.size() <= 1) return places;
    const std::int32_t gap = spacing(units);
    std::size_t tries = kTriesPerUnit * units.size() + kMoreTries;
    Spiral spiral;
    for (const std::size_t i : byDistance(units, place)) {
        for (; tries > 0; --tries) {
            const Cell offset = spiral.next();
            const GroundPoint wished{place.x + Fixed::fromInt(offset.x * gap),
                                     place.z + Fixed::fromInt(offset.z * gap)};
            if (!canStandAt(world, *units[i], wished) ||
                !isReachable(world, *units[i], place, wished))
                continue;
            places[i] = wished;
            --tries;
            break;
        }
    }
    return places;
}

}  // namespace orb::sim
