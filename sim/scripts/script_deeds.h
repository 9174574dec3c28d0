#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace orb::sim {

/// What a script has done to the world, for the world to act on.
struct ScriptDeed {
    enum class Kind : std::uint8_t { emit, explode, attach, drop, sound };
    Kind kind = Kind::emit;
    /// emit: type and piece; explode: piece and flags; attach: unit, piece and the third operand;
    /// drop: unit; sound: its number.
    std::int32_t first = 0;
    std::int32_t second = 0;
    std::int32_t third = 0;
};

/// Deeds of one unit between two times that the world acts on them; further ones are dropped.
inline constexpr std::size_t kMaxScriptDeeds = 64;

/// What one unit's script asks for while it runs. It is written by whoever runs the script, which
/// many threads do for different units at a time, and is emptied by the serial part that follows:
/// between phases it is empty, so it is no state.
struct ScriptOutbox {
    std::vector<ScriptDeed> deeds;
    /// Unit values by id, as they were last set; only ids that can be set.
    std::map<std::int32_t, std::int32_t> values;
    /// How many random numbers it has drawn in this tick.
    std::uint32_t randomCount = 0;

    void add(const ScriptDeed& deed) {
        if (deeds.size() < kMaxScriptDeeds) deeds.push_back(deed);
    }
};

}  // namespace orb::sim
