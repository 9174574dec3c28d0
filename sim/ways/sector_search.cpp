#include "sim/ways/sector_search.h"

#include <algorithm>

namespace orb::sim {
namespace {

constexpr std::ptrdiff_t kRow = kSectorSide + 2;
constexpr std::array<std::ptrdiff_t, kDirections> kOffsets = {-kRow, -kRow + 1, 1,  kRow + 1,
                                                              kRow,  kRow - 1,  -1, -kRow - 1};

constexpr std::uint8_t opposite(std::size_t direction) {
    return static_cast<std::uint8_t>((direction + kDirections / 2) % kDirections);
}

constexpr std::size_t moved(std::size_t cell, std::size_t direction) {
    return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(cell) + kOffsets[direction]);
}

}  // namespace

SectorSearch::SectorSearch() {
    for (auto& bucket : buckets_) bucket.reserve(kSectorCells);
}

void SectorSearch::load(const ClassGrid& grid, const CellRect& cells) {
    costs_.fill(kNoStep);
    for (std::int32_t z = 0; z < cells.depth; ++z)
        std::copy_n(grid.row({cells.corner.x, cells.corner.z + z}), cells.width,
                    &costs_[padded(static_cast<SectorCell>(z * kSectorSide))]);
}

void SectorSearch::run(std::span<const Aim> aims) {
    lengths_.fill(kUnreached);
    directions_.fill(kNowhere);
    if (aims.empty()) return;
    shortest_ = aims.front().length;
    std::size_t next = 0;
    for (std::uint32_t length = 0;; ++length) {
        if (queued_ == 0) {
            if (next == aims.size()) return;
            length = aims[next].length - shortest_;
        }
        for (; next < aims.size() && aims[next].length - shortest_ == length; ++next)
            reach(padded(aims[next].cell), length, kHere, static_cast<std::uint16_t>(next));
        auto& bucket = buckets_[length % kBuckets];
        for (const std::uint16_t cell : bucket)
            if (lengths_[cell] == length) expand(cell);
        queued_ -= bucket.size();
        bucket.clear();
    }
}

void SectorSearch::reach(std::size_t cell, std::uint32_t length, std::uint8_t direction,
                         std::uint16_t aim) {
    if (length >= lengths_[cell]) return;
    lengths_[cell] = static_cast<std::uint16_t>(length);
    directions_[cell] = direction;
    aims_[cell] = aim;
    buckets_[length % kBuckets].push_back(static_cast<std::uint16_t>(cell));
    ++queued_;
}

/// Of the cells about one, those behind it are reached no later from the one before it: they touch
/// that one too, and straight.
void SectorSearch::expand(std::size_t cell) {
    const std::uint32_t length = lengths_[cell], cost = costs_[cell];
    const std::uint16_t aim = aims_[cell];
    const bool isAim = directions_[cell] == kHere;
    const std::size_t first = isAim ? 0 : opposite(directions_[cell]) + kDirections - 2U;
    const std::size_t count = isAim ? kDirections : 5;
    for (std::size_t i = first; i < first + count; ++i) {
        const std::size_t direction = i % kDirections;
        const std::size_t next = moved(cell, direction);
        if (costs_[next] == kNoStep) continue;
        const bool isSlanting = direction % 2 == 1;
        if (isSlanting && (costs_[moved(cell, direction - 1)] == kNoStep ||
                           costs_[moved(cell, (direction + 1) % kDirections)] == kNoStep))
            continue;
        reach(next, length + stepLength(isSlanting, cost, costs_[next]), opposite(direction), aim);
    }
}

std::vector<std::uint16_t> SectorSearch::islands() {
    std::vector<std::uint16_t> result(kSectorCells);
    std::uint16_t count = 0;
    lengths_.fill(kUnreached);
    for (SectorCell cell = 0; cell < kSectorCells; ++cell) {
        if (costs_[padded(cell)] == kNoStep || lengths_[padded(cell)] != kUnreached) continue;
        ++count;
        auto& open = buckets_.front();
        reach(padded(cell), 0, kHere, count);
        // The vector grows under the loop.
        for (std::size_t i = 0; i < open.size(); ++i)
            for (std::size_t side = 0; side < kDirections; side += 2)
                if (const std::size_t next = moved(open[i], side); costs_[next] != kNoStep)
                    reach(next, 0, kHere, count);
        queued_ -= open.size();
        open.clear();
    }
    for (SectorCell cell = 0; cell < kSectorCells; ++cell)
        if (costs_[padded(cell)] != kNoStep) result[cell] = aims_[padded(cell)];
    return result;
}

}  // namespace orb::sim
