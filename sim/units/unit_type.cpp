#include "sim/units/unit_type.h"

#include <algorithm>

namespace orb::sim {

bool isOfCategory(const UnitType& type, const std::vector<std::string>& words) {
    return std::ranges::any_of(words, [&](const std::string& word) {
        return word == "ALL" || std::ranges::find(type.categories, word) != type.categories.end();
    });
}

}  // namespace orb::sim
