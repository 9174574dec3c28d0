#pragma once

#include <string_view>

namespace orb::unitview {

/// What a script is for, told by its name in any case: "lifecycle", "activate", "weapon-aim",
/// "weapon-fire", "weapon-query", "movement", "building", "transport", "state" or "helper".
std::string_view scriptFamily(std::string_view scriptName);

}  // namespace orb::unitview
