#include "diagnostics/script_family.h"

#include <array>

#include "cob/known_scripts.h"

namespace orb::unitview {
namespace {

/// In the order of ScriptFamily.
constexpr std::array<std::string_view, 10> kWords = {
    "lifecycle", "activate", "weapon-aim", "weapon-fire", "weapon-query",
    "movement",  "building", "transport",  "state",       "helper"};

}  // namespace

std::string_view scriptFamily(std::string_view scriptName) {
    return kWords.at(static_cast<std::size_t>(familyOf(scriptName)));
}

}  // namespace orb::unitview
