#include "sim/sight/line_of_sight.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "sim/numbers/fixed.h"
#include "sim/sight/senses.h"

// Tiles are gone through in squares around the looker's, each from the inside. A line from the eye
// to a tile comes through between two tiles of the square before; the steepest that rises on the
// way there is taken from both, by how near the line passes to each. So every tile is touched once,
// where rays would cross those near the middle again and again.

namespace orb::sim {
namespace {

constexpr int kShareBits = 16;

/// For a tile so many columns or rows away along one axis and no more along the other.
struct Step {
    /// 1 / distance in tiles.
    std::int32_t inverse = 0;
    /// How near its line passes to the neighbour that is closer to the axis, 0 to 1.
    std::int32_t share = 0;
};

class Steps {
public:
    Steps() {
        for (std::int32_t far = 1; far <= kMaxSightTiles; ++far)
            for (std::int32_t near = 0; near <= far; ++near) {
                const auto square = static_cast<std::uint64_t>(far * far + near * near);
                constexpr std::uint64_t kOne = std::uint64_t{1} << (2 * kShareBits);
                Step& step = at(far, near);
                step.inverse = static_cast<std::int32_t>(kOne / squareRoot(square * kOne));
                step.share = (near << kShareBits) / far;
            }
    }

    const Step& of(std::int32_t far, std::int32_t near) const { return steps_[indexOf(far, near)]; }

private:
    static std::size_t indexOf(std::int32_t far, std::int32_t near) {
        return static_cast<std::size_t>(far * (kMaxSightTiles + 1) + near);
    }
    Step& at(std::int32_t far, std::int32_t near) { return steps_[indexOf(far, near)]; }

    std::array<Step, std::size_t{kMaxSightTiles + 1} * (kMaxSightTiles + 1)> steps_{};
};

const Steps& steps() {
    static const Steps kSteps;
    return kSteps;
}

class Looker {
public:
    Looker(const TileHeights& ground, const Look& look, SightScratch& scratch)
        : ground_(ground),
          look_(look),
          scratch_(scratch),
          radius_(std::min(look.distance / kTilePixels, kMaxSightTiles)),
          side_(2 * radius_ + 1) {
        const auto size = static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_);
        scratch_.horizon.resize(size);
        scratch_.isSeen.assign(size, 0);
    }

    std::uint64_t look() {
        constexpr std::int32_t kNothingRises = -(1 << 30);
        scratch_.horizon[indexOf(0, 0)] = kNothingRises;
        scratch_.isSeen[indexOf(0, 0)] = 1;
        for (std::int32_t far = 1; far <= radius_; ++far)
            for (std::int32_t near = -far; near <= far; ++near) {
                lookAt(far, near);
                lookAt(-far, near);
                // The corners belong to the columns.
                if (std::abs(near) == far) continue;
                lookAt(near, far);
                lookAt(near, -far);
            }
        return looked_;
    }

    void list(std::vector<TileRun>& seen) const {
        for (std::int32_t z = -radius_; z <= radius_; ++z)
            for (std::int32_t x = -radius_; x <= radius_; ++x) {
                const std::int32_t begin = x;
                while (x <= radius_ && scratch_.isSeen[indexOf(x, z)] != 0) ++x;
                if (x == begin) continue;
                seen.push_back({static_cast<std::uint16_t>(look_.tileX + begin),
                                static_cast<std::uint16_t>(look_.tileZ + z),
                                static_cast<std::uint16_t>(x - begin)});
            }
    }

private:
    std::size_t indexOf(std::int32_t x, std::int32_t z) const {
        return static_cast<std::size_t>((z + radius_) * side_ + x + radius_);
    }

    bool isInside(std::int32_t x, std::int32_t z) const {
        const std::int32_t mapX = look_.tileX + x, mapZ = look_.tileZ + z;
        if (mapX < 0 || mapZ < 0 || mapX >= ground_.width || mapZ >= ground_.depth) return false;
        const std::int64_t square = std::int64_t{x} * x + std::int64_t{z} * z;
        return square * kTilePixels * kTilePixels <= std::int64_t{look_.distance} * look_.distance;
    }

    void lookAt(std::int32_t x, std::int32_t z) {
        if (!isInside(x, z)) return;
        ++looked_;
        const std::size_t index = indexOf(x, z);
        if (!ground_.hides) {
            scratch_.isSeen[index] = 1;
            return;
        }
        const std::int32_t horizon = horizonAt(x, z);
        const bool isAlongX = std::abs(x) >= std::abs(z);
        const Step& step =
            isAlongX ? steps().of(std::abs(x), std::abs(z)) : steps().of(std::abs(z), std::abs(x));
        const std::int32_t rise =
            (ground_.at(look_.tileX + x, look_.tileZ + z) - look_.eye) * step.inverse;
        scratch_.isSeen[index] = rise >= horizon ? 1 : 0;
        scratch_.horizon[index] = std::max(rise, horizon);
    }

    /// The steepest that rises before a tile, as seen from the eye.
    std::int32_t horizonAt(std::int32_t x, std::int32_t z) const {
        const auto nearer = [](std::int32_t value) {
            return value > 0 ? value - 1 : (value < 0 ? value + 1 : 0);
        };
        const bool isAlongX = std::abs(x) >= std::abs(z);
        const std::int32_t far = isAlongX ? std::abs(x) : std::abs(z);
        const std::int32_t near = isAlongX ? std::abs(z) : std::abs(x);
        const std::int32_t insideX = isAlongX ? nearer(x) : x, insideZ = isAlongX ? z : nearer(z);
        const std::int32_t atCorner = scratch_.horizon[indexOf(nearer(x), nearer(z))];
        if (near == far || near == 0) return atCorner;
        const std::int32_t straight = scratch_.horizon[indexOf(insideX, insideZ)];
        const std::int64_t part = std::int64_t{atCorner - straight} * steps().of(far, near).share;
        return straight + static_cast<std::int32_t>(part >> kShareBits);
    }

    const TileHeights& ground_;
    const Look& look_;
    SightScratch& scratch_;
    std::int32_t radius_;
    std::int32_t side_;
    std::uint64_t looked_ = 0;
};

}  // namespace

std::uint64_t findSeen(const TileHeights& ground, const Look& look, SightScratch& scratch,
                       std::vector<TileRun>& seen) {
    seen.clear();
    if (!look) return 0;
    Looker looker(ground, look, scratch);
    const std::uint64_t looked = looker.look();
    looker.list(seen);
    return looked;
}

}  // namespace orb::sim
