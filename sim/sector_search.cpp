#include "sim/sector_search.h"

#include <algorithm>

namespace orb::sim {
namespace {

constexpr std::ptrdiff_t kRow = kSectorSide + 2;
constexpr std::array<std::ptrdiff_t, kDirections> kOffsets = {-kRow, -kRow + 1, 1,  kRow + 1,
                                                              kRow,  kRow - 1,  -1, -kRow - 1};

constexpr std::uint8_t opposite(std::uint8_t direction) {
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

void SectorSearch::expand(std::size_t cell) {
    const std::uint32_t length = lengths_[cell], cost = costs_[cell];
    const std::uint16_t aim = aims_[cell];
    std::array<std::uint8_t, kDirections> around;
    for (std::size_t i = 0; i < kDirections; ++i) around[i] = costs_[moved(cell, i)];
    for (std::uint8_t i = 0; i < kDirections; ++i) {
        const bool isSlanting = i % 2 == 1;
        if (around[i] == kNoStep) continue;
        if (isSlanting && (around[i - 1] == kNoStep || around[(i + 1) % kDirections] == kNoStep))
            continue;
        reach(moved(cell, i), length + stepLength(isSlanting, cost, around[i]), opposite(i), aim);
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
