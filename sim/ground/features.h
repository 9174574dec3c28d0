#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/ground/feature_type.h"
#include "sim/numbers/angle.h"
#include "sim/orders/order.h"

namespace orb::sim {

/// Far more than any map is known to have (some 10,000); a reply that lists them all stays within a
/// few megabytes.
inline constexpr std::size_t kMaxFeatures = 262'144;

/// What lies on the map: plain data.
struct Feature {
    /// From 1; never used again.
    std::uint32_t id = 0;
    /// Index of its type.
    std::uint32_t type = 0;
    /// The middle of its footprint.
    GroundPoint place;
    Fixed altitude;
    /// Wrecks face as what they were did.
    Angle heading;
    Amount health;
    /// Work that has gone into reclaiming it.
    std::int64_t reclaimed = 0;
};

template <typename Visit>
void eachField(const Feature& feature, Visit visit) {
    visit("id", feature.id);
    visit("type", feature.type);
    visit("place", feature.place);
    visit("altitude", feature.altitude);
    visit("heading", feature.heading);
    visit("health", feature.health);
    visit("reclaimed", feature.reclaimed);
}
static_assert(sizeof(Feature) == 40);

/// All features by rising id. References hold until the next one is added or removed.
class Features {
public:
    std::span<const Feature> all() const { return all_; }
    bool isFull() const { return all_.size() >= kMaxFeatures; }
    const Feature* find(std::uint32_t id) const;
    Feature* find(std::uint32_t id) { return const_cast<Feature*>(std::as_const(*this).find(id)); }
    /// The ids of all that were removed, in their order.
    std::span<const std::uint32_t> removed() const { return removed_; }
    std::uint32_t lastId() const { return lastId_; }

    /// Gives it the next id; not when `isFull`.
    const Feature& add(Feature feature);
    void remove(std::uint32_t id);

    template <typename Visit>
    friend void eachField(const Features& features, Visit visit) {
        visit("lastId", features.lastId_);
        visit("all", features.all_);
    }

private:
    std::vector<Feature> all_;
    std::vector<std::uint32_t> removed_;
    std::uint32_t lastId_ = 0;
};

}  // namespace orb::sim
