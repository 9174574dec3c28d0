#include "sim/units/unit_buckets.h"

#include <algorithm>

namespace orb::sim {
namespace {

/// The side of a square in map pixels. Smaller ones cost more to look through for the usual ranges
/// (median 480), larger ones hold more units that lie outside.
constexpr std::int32_t kBucketPixels = 128;

std::int32_t bucketsFor(std::int32_t cells) {
    return (cells * kCellPixels + kBucketPixels - 1) / kBucketPixels;
}

}  // namespace

UnitBuckets::UnitBuckets(std::int32_t cellsX, std::int32_t cellsZ)
    : columns_(std::max(1, bucketsFor(cellsX))),
      rows_(std::max(1, bucketsFor(cellsZ))),
      slots_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

std::int32_t UnitBuckets::column(Fixed x) const {
    return std::clamp(x.floor() / kBucketPixels, 0, columns_ - 1);
}

std::int32_t UnitBuckets::row(Fixed z) const {
    return std::clamp(z.floor() / kBucketPixels, 0, rows_ - 1);
}

std::size_t UnitBuckets::bucketOf(GroundPoint place) const {
    return indexOf(column(place.x), row(place.z));
}

void UnitBuckets::add(std::uint32_t slot, GroundPoint place) {
    slots_[bucketOf(place)].push_back(slot);
}

void UnitBuckets::remove(std::uint32_t slot, GroundPoint place) {
    auto& bucket = slots_[bucketOf(place)];
    const auto found = std::ranges::find(bucket, slot);
    if (found == bucket.end()) return;
    *found = bucket.back();
    bucket.pop_back();
}

void UnitBuckets::move(std::uint32_t slot, GroundPoint from, GroundPoint to) {
    if (bucketOf(from) == bucketOf(to)) return;
    remove(slot, from);
    add(slot, to);
}

void UnitBuckets::rebuild(const Units& units) {
    for (auto& bucket : slots_) bucket.clear();
    for (const Unit& unit : units) add(unit.slot(), unit.place);
}

void UnitBuckets::findWithin(const Units& units, GroundPoint place, Fixed radius,
                             std::vector<std::uint32_t>& found) const {
    const auto begun = static_cast<std::ptrdiff_t>(found.size());
    const std::uint64_t most = squaredLength(radius);
    for (std::int32_t z = row(place.z - radius); z <= row(place.z + radius); ++z) {
        for (std::int32_t x = column(place.x - radius); x <= column(place.x + radius); ++x) {
            for (const std::uint32_t slot : slots_[indexOf(x, z)]) {
                const GroundPoint at = units.at(slot)->place;
                if (squaredDistance(at.x, at.z, place.x, place.z) <= most) found.push_back(slot);
            }
        }
    }
    std::sort(found.begin() + begun, found.end());
}

}  // namespace orb::sim
