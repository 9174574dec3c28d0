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
        const Axis x{look_.tileX, ground_.width, 1, 1};
        const Axis z{look_.tileZ, ground_.depth, side_, ground_.width};
        for (std::int32_t far = 1; far <= radius_; ++far) {
            const std::int32_t near = nearestEnd(far);
            // The corners belong to the columns.
            for (const std::int32_t sign : {-1, 1}) {
                lookAlong({x, sign}, z, far, near);
                lookAlong({z, sign}, x, far, std::min(near, far - 1));
            }
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

    /// One of the map's: where the looker is on it, how far it goes, and how far apart two tiles
    /// along it are in the scratch and in the ground.
    struct Axis {
        std::int32_t own = 0;
        std::int32_t size = 0;
        std::ptrdiff_t stride = 0;
        std::ptrdiff_t groundStride = 0;
    };
    struct Direction {
        Axis axis;
        std::int32_t sign = 1;
    };

    /// How far to the side of a line that far away the distance ends, within the square; -1 where
    /// it does not reach there.
    std::int32_t nearestEnd(std::int32_t far) const {
        constexpr std::int64_t kTileSquare = std::int64_t{kTilePixels} * kTilePixels;
        const std::int64_t left =
            std::int64_t{look_.distance} * look_.distance / kTileSquare - std::int64_t{far} * far;
        if (left < 0) return -1;
        return std::min(far,
                        static_cast<std::int32_t>(squareRoot(static_cast<std::uint64_t>(left))));
    }

    /// One side of a square: the tiles so `far` away in a direction, and up to `near` from its
    /// line.
    void lookAlong(const Direction& direction, const Axis& across, std::int32_t far,
                   std::int32_t near) {
        const auto& [axis, sign] = direction;
        const std::int32_t place = axis.own + sign * far;
        if (place < 0 || place >= axis.size) return;
        const std::int32_t first = std::max(-near, -across.own);
        const std::int32_t last = std::min(near, across.size - 1 - across.own);
        if (first > last) return;
        looked_ += static_cast<std::uint64_t>(last - first + 1);
        const std::ptrdiff_t farther = sign * axis.stride;
        auto index =
            static_cast<std::ptrdiff_t>(indexOf(0, 0)) + far * farther + first * across.stride;
        auto onGround = place * axis.groundStride + (across.own + first) * across.groundStride;
        for (std::int32_t side = first; side <= last; ++side) {
            lookAt(index, index - farther,
                   side > 0 ? across.stride : (side < 0 ? -across.stride : 0),
                   steps().of(far, std::abs(side)), onGround);
            index += across.stride;
            onGround += across.groundStride;
        }
    }

    /// `inside` is the tile's neighbour in the square before, `outwards` the way from the axis.
    void lookAt(std::ptrdiff_t index, std::ptrdiff_t inside, std::ptrdiff_t outwards,
                const Step& step, std::ptrdiff_t onGround) {
        std::int32_t* const horizon = scratch_.horizon.data();
        // At the corners only the second counts.
        const std::int32_t straight = horizon[inside], nearer = horizon[inside - outwards];
        const std::int64_t part = (std::int64_t{nearer} - straight) * step.share;
        const auto before = static_cast<std::int32_t>(straight + (part >> kShareBits));
        const std::int32_t height = ground_.heights[static_cast<std::size_t>(onGround)];
        const std::int32_t rise = (height - look_.eye) * step.inverse;
        scratch_.isSeen[static_cast<std::size_t>(index)] = rise >= before || !ground_.hides ? 1 : 0;
        horizon[index] = std::max(rise, before);
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
