#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace orb::unitview {

/// What the preview stands the unit on.
enum class SimMode : int { still = 0, ground = 1, water = 2 };

/// Names of the modes by their code.
inline constexpr std::array<std::string_view, 3> kSimModeNames = {"static", "ground", "water"};

/// The mode of a name, compared exactly.
constexpr std::optional<SimMode> simModeNamed(std::string_view name) {
    for (std::size_t code = 0; code < kSimModeNames.size(); ++code)
        if (kSimModeNames[code] == name) return static_cast<SimMode>(code);
    return std::nullopt;
}

}  // namespace orb::unitview
