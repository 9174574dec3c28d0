#pragma once

#include <string_view>

#include "session/references.h"

/// What several reports say of references.
namespace orb::unitview {

inline constexpr std::string_view kNoObjectName = "FBI has no ObjectName";
inline constexpr std::string_view kNotInWeaponRegistry = "not in the weapon registry";
inline constexpr std::string_view kNoDeathEffect =
    "not in the weapon/explosion registry — no death effect";

}  // namespace orb::unitview
