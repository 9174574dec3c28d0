#include "sim/ground/features.h"

#include <algorithm>
#include <cassert>

namespace orb::sim {

const Feature* Features::find(std::uint32_t id) const {
    const auto found = std::ranges::lower_bound(all_, id, {}, &Feature::id);
    return found != all_.end() && found->id == id ? &*found : nullptr;
}

const Feature& Features::add(Feature feature) {
    assert(!isFull());
    feature.id = ++lastId_;
    return all_.emplace_back(feature);
}

void Features::remove(std::uint32_t id) {
    const Feature* const feature = find(id);
    if (!feature) return;
    removed_.push_back(id);
    all_.erase(all_.begin() + (feature - all_.data()));
}

}  // namespace orb::sim
