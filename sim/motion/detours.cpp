#include "sim/motion/detours.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "sim/motion/cell_line.h"
#include "sim/motion/giving_way.h"
#include "sim/motion/ground_motion.h"
#include "sim/motion/steering.h"
#include "sim/rules.h"
#include "sim/units/births.h"
#include "sim/ways/sector_search.h"

namespace orb::sim {
namespace {

/// Cells about the walker, each way, in which a way round others is looked for. Higher gets round
/// larger groups and costs its square.
constexpr std::int32_t kReach = 14;
constexpr std::int32_t kSide = 2 * kReach + 1;
constexpr std::size_t kCells = std::size_t{kSide} * kSide;
/// Cells ahead in which somebody in the way is gone round.
constexpr std::int32_t kLookAhead = 8;
/// Larger footprints look for no way round: they are not built for crowds, and each cell of the
/// search would cost their square.
constexpr std::int32_t kLargestFootprint = 12;

/// What a cell adds to the length of a way over it, by who has it; a straight step is 5. From
/// `kJammed` on somebody is in the way, and a way leads up to him only.
constexpr std::uint8_t kFollowed = 2;
constexpr std::uint8_t kJammed = 8;
constexpr std::uint8_t kMakesRoom = 10;
constexpr std::uint8_t kInTheWay = 15;
constexpr std::uint8_t kWall = 255;
/// For passing on the left, so that two who meet choose different sides; and for the other side
/// than the one that was chosen, so that nobody goes to and fro before a row.
constexpr std::uint8_t kLeftHand = 1;
constexpr std::uint8_t kOtherHand = 5;

/// What it is to have that unit in the way.
std::uint8_t hindrance(const Unit& unit, const Unit& other) {
    const UnitMotion& motion = other.motion;
    if (!other.type->canMove) return kWall;
    if (!motion.hasGoal) return makesRoomFor(other, unit) ? kMakesRoom : kWall;
    if (goTogether(unit, other) && motion.backTicks == 0)
        return motion.stillTicks < rules::kJammedTicks ? kFollowed : kJammed;
    const std::int32_t apart = std::abs(shortestDifference(unit.heading, other.heading));
    return motion.speed > Fixed() && apart < kQuarterTurn ? kFollowed : kInTheWay;
}

/// Ways over the cells round one walker, past the other units.
class Surroundings {
public:
    Surroundings(const WorldParts& world, const Unit& unit, GroundPoint aim)
        : world_(world),
          unit_(unit),
          start_(unit.cells().corner),
          aim_(footprintAt(aim, unit.type->footprintX, unit.type->footprintZ).corner),
          corner_{start_.x - kReach, start_.z - kReach} {
        hindrances_.fill(kUnknown);
    }

    /// Who only passes there and finds it taken looks as far as to beyond it.
    void lookBeyondAim() {
        if (!isInside(aim_) || aim_ == start_ || hindranceAt(indexOf(aim_)) < kMakesRoom) return;
        const Cell way{aim_.x - start_.x, aim_.z - start_.z};
        const std::int32_t times = kReach / apart(aim_, start_) + 1;
        aim_ = {start_.x + way.x * times, start_.z + way.z * times};
    }

    bool isLineFree(GroundPoint to, std::int32_t mostCells) {
        return allCellsOnLine(unit_.type->footprintX, unit_.type->footprintZ, unit_.place, to,
                              [&](Cell cell) {
                                  if (!isInside(cell) || apart(cell, start_) > mostCells)
                                      return true;
                                  return hindranceAt(indexOf(cell)) < kJammed;
                              });
    }

    /// The cells up to the first that somebody has, from the one next to the walker on.
    std::vector<Cell> findWay() {
        std::vector<Cell> way;
        const auto end = search();
        if (!end) return way;
        for (std::size_t at = *end; at != indexOf(start_); at = before(at))
            way.push_back(cellOf(at));
        std::ranges::reverse(way);
        const auto taken = std::ranges::find_if(
            way, [&](Cell cell) { return hindranceAt(indexOf(cell)) >= kJammed; });
        way.erase(taken, way.end());
        return way;
    }

private:
    static constexpr std::uint8_t kUnknown = 254;
    static constexpr std::uint32_t kUnreached = std::numeric_limits<std::uint32_t>::max();

    /// What is known of a cell while a way is looked for.
    struct Reached {
        std::uint32_t length = kUnreached;
        std::uint8_t direction = kHere;
        bool isVisited = false;
    };

    static std::int32_t apart(Cell a, Cell b) {
        return std::max(std::abs(a.x - b.x), std::abs(a.z - b.z));
    }
    bool isInside(Cell cell) const { return apart(cell, start_) <= kReach; }
    std::size_t indexOf(Cell cell) const {
        return static_cast<std::size_t>((cell.z - corner_.z) * kSide + cell.x - corner_.x);
    }
    Cell cellOf(std::size_t index) const {
        const auto number = static_cast<std::int32_t>(index);
        return {corner_.x + number % kSide, corner_.z + number / kSide};
    }
    std::size_t before(std::size_t index) const {
        const Cell cell = cellOf(index), step = kSteps[reached_[index].direction];
        return indexOf({cell.x - step.x, cell.z - step.z});
    }
    std::uint32_t leastFrom(Cell cell) const {
        return leastLength(static_cast<std::uint32_t>(std::abs(cell.x - aim_.x)),
                           static_cast<std::uint32_t>(std::abs(cell.z - aim_.z)));
    }
    std::uint32_t sidePrice(Cell cell) const {
        const std::int64_t left = std::int64_t{aim_.z - start_.z} * (cell.x - start_.x) -
                                  std::int64_t{aim_.x - start_.x} * (cell.z - start_.z);
        const std::int8_t hand = unit_.motion.hand;
        if (hand == 0) return left > 0 ? kLeftHand : 0;
        return left * hand > 0 ? kOtherHand : 0;
    }

    /// As long as the way that it could have gone while it turns into that direction.
    std::uint32_t turnPrice(std::uint8_t direction) const {
        constexpr std::int64_t kMost = 100;
        const MoveLimits& limits = unit_.type->movement;
        const Cell step = kSteps[direction];
        const Angle heading = headingOf(Fixed::fromInt(step.x), Fixed::fromInt(step.z));
        const std::int64_t ticks =
            std::abs(shortestDifference(unit_.heading, heading)) / std::max(1, limits.turnRate);
        const std::int64_t length = (ticks * limits.maxSpeed.raw()) >> Fixed::kFractionBits;
        return static_cast<std::uint32_t>(std::min(length * kStraightStep / kCellPixels, kMost));
    }

    std::uint8_t hindranceAt(std::size_t index) {
        std::uint8_t& known = hindrances_[index];
        if (known == kUnknown) known = lookAt(cellOf(index));
        return known;
    }
    std::uint8_t lookAt(Cell corner) const {
        const CellRect cells{corner, unit_.type->footprintX, unit_.type->footprintZ};
        if (!canStandAt(world_, unit_, cells.center())) return kWall;
        std::uint8_t worst = 0;
        allCells(cells, [&](Cell cell) {
            const CellOwner owner = world_.state.occupancy.ownerOf(cell);
            if (owner == CellOwner() || owner == ownerOf(unit_)) return true;
            const Unit* const other =
                owner.isUnit() ? world_.state.units.withId(owner.id()) : nullptr;
            worst = std::max(worst, other ? hindrance(unit_, *other) : kWall);
            return worst != kWall;
        });
        return worst;
    }

    /// The aim, or else the cell on the edge from which it can best be got to, or else the nearest
    /// to it.
    std::optional<std::size_t> search() {
        const bool isNear = isInside(aim_);
        std::size_t best = indexOf(start_);
        std::uint32_t nearest = leastFrom(start_);
        reached_[best].length = 0;
        open_.push_back({nearest, best});
        while (!open_.empty()) {
            std::ranges::pop_heap(open_, std::greater<>());
            const std::size_t index = open_.back().second;
            open_.pop_back();
            if (std::exchange(reached_[index].isVisited, true)) continue;
            const Cell cell = cellOf(index);
            if (cell == aim_ || (!isNear && apart(cell, start_) == kReach)) return index;
            if (leastFrom(cell) < nearest) {
                nearest = leastFrom(cell);
                best = index;
            }
            for (std::uint8_t i = 0; i < kDirections; ++i) reach(cell, i);
        }
        return best == indexOf(start_) ? std::nullopt : std::optional(best);
    }

    void reach(Cell from, std::uint8_t direction) {
        const Cell step = kSteps[direction];
        const Cell to{from.x + step.x, from.z + step.z};
        if (!isInside(to)) return;
        const std::size_t index = indexOf(to);
        const std::uint8_t hindered = hindranceAt(index);
        if (hindered == kWall || reached_[index].isVisited) return;
        const bool isSlanting = direction % 2 == 1;
        if (isSlanting && (hindranceAt(indexOf({from.x, to.z})) == kWall ||
                           hindranceAt(indexOf({to.x, from.z})) == kWall))
            return;
        const std::uint32_t length =
            reached_[indexOf(from)].length + (from == start_ ? turnPrice(direction) : 0) +
            (isSlanting ? kSlantingStep : kStraightStep) + hindered + sidePrice(to);
        if (length >= reached_[index].length) return;
        reached_[index].length = length;
        reached_[index].direction = direction;
        open_.emplace_back(length + leastFrom(to), index);
        std::ranges::push_heap(open_, std::greater<>());
    }

    const WorldParts& world_;
    const Unit& unit_;
    Cell start_;
    Cell aim_;
    /// The north-western one.
    Cell corner_;
    std::array<std::uint8_t, kCells> hindrances_;
    std::array<Reached, kCells> reached_ = {};
    /// A heap of what any way through a cell is at least long, and that cell.
    std::vector<std::pair<std::uint32_t, std::size_t>> open_;
};

}  // namespace

std::optional<GroundPoint> findDetour(const WorldParts& world, const Unit& unit, GroundPoint aim,
                                      bool isEnd) {
    const std::int32_t width = unit.type->footprintX, depth = unit.type->footprintZ;
    if (std::max(width, depth) > kLargestFootprint) return std::nullopt;
    Surroundings surroundings(world, unit, aim);
    if (surroundings.isLineFree(aim, kLookAhead)) return std::nullopt;
    if (!isEnd) surroundings.lookBeyondAim();
    const std::vector<Cell> way = surroundings.findWay();
    for (std::size_t count = way.size(); count > 0; count /= 2) {
        const GroundPoint place = CellRect{way[count - 1], width, depth}.center();
        if (count == 1 || surroundings.isLineFree(place, kReach)) return place;
    }
    return std::nullopt;
}

}  // namespace orb::sim
