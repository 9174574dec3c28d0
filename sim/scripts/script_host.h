#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// Instructions that the threads of one unit execute in a tick together; others wait for the next.
/// Real scripts need some dozens. Higher lets hostile ones make ticks longer: 5,000 units with
/// endless loops execute 82 million.
inline constexpr std::int64_t kScriptBudget = 16'384;
/// Threads that the world starts in a unit at most; scripts are stopped at 256 by themselves.
inline constexpr std::size_t kMaxStartedThreads = 64;

/// Gives a unit its running script, which answers and tells the world. For births, and where a
/// type's script was replaced.
void setUpScript(WorldParts& world, Unit& unit);

/// The world starts no more threads in it for now.
bool isFullOfThreads(const unitview::CobInstance& instance);

/// Starts a script of the unit in a thread of its own that first runs when scripts next do; local i
/// is argument i. With a `callId` its end comes into `TickScratch::endedCalls` of that tick. False,
/// and told once a type, when the unit lacks the script; false as well for a unit that is full of
/// threads. Not while scripts run.
bool startScript(WorldParts& world, const Unit& unit, UnitScript script,
                 std::span<const std::int32_t> arguments = {},
                 std::optional<std::uint32_t> callId = std::nullopt);

/// The same without telling when it is missing: for scripts that most units do without.
bool startScriptIfThere(WorldParts& world, const Unit& unit, UnitScript script,
                        std::span<const std::int32_t> arguments = {});

/// Asks a script at once for a piece: "QueryPrimary", "AimFromPrimary", "SweetSpot" and their like.
/// The index of the model's piece, -1 for none. Not while scripts run.
std::int32_t queryPiece(WorldParts& world, Unit& unit, UnitScript script);

/// The same of a script that names several: one for each of `pieces`.
void queryPieces(WorldParts& world, Unit& unit, UnitScript script, std::span<std::int32_t> pieces);

/// Acts on what the unit's script has done: for whoever ran it outside the scripts' own phase.
void actOnScript(WorldParts& world, Unit& unit);

}  // namespace orb::sim
