#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "session/loaded_map.h"
#include "sim/orders/orders.h"

namespace orb::unitview {

/// One request plays at most so many ticks, for at most so long: it stops between two of them.
inline constexpr std::int64_t kMaxTicksPerPlay = 600;
inline constexpr std::chrono::seconds kLongestPlay{2};

/// What ends a play before its ticks are over.
struct PlayUntil {
    /// An event of this kind, by its place among the kinds.
    std::optional<std::size_t> eventKind;
    /// No unit has an order but patrols and guards.
    bool isIdle = false;
};

/// An order as a request has it: what is to be built is but a name.
struct MapOrder {
    sim::OrderRequest order;
    std::string product;
};

struct PlayRequest {
    std::int64_t ticks = 1;
    bool keepsEvents = true;
    std::optional<PlayUntil> until;
    /// What players have from now on.
    struct Stocks {
        std::int32_t player = 1;
        std::optional<double> metal;
        std::optional<double> energy;
    };
    std::vector<Stocks> stocks;
};

enum class PlayEnd : std::uint8_t { ticks, until, time };

struct Play {
    std::int64_t ticksDone = 0;
    PlayEnd end = PlayEnd::ticks;
};

/// Lets time pass on a map; what happened since the last time is in the world's events, until the
/// next play.
Play playTicks(LoadedMap& map, const PlayRequest& request);

/// Throws RequestError "script not found: …" for an order to start one that units of the type lack.
void requireScript(const sim::UnitType& type, const sim::OrderRequest& request);

/// What `sim::giveOrder` answers. Throws RequestError "position outside the map" and, for a script
/// that a unit lacks, "script not found: …"; then nobody has the order.
std::vector<sim::OrderAnswer> giveOrder(LoadedMap& map, std::span<const std::int64_t> unitIds,
                                        const sim::OrderRequest& request);

/// The order with the type that its product's files make. Throws RequestError what loading those
/// throws, and what `giveOrder` throws for an order of which only its units are not known yet.
sim::OrderRequest preparedOrder(LoadedMap& map, const MountedData& data, MapOrder order);

/// Units of that name, in any case, run this script from now on, from its beginning, whether they
/// are on the map or come later; a temporary one goes before their own also when that is read anew.
/// False when there is no such unit on the map.
bool replaceMapScripts(LoadedMap& map, const std::string& unitName,
                       const std::shared_ptr<const io::CobFile>& script, bool isTemporary);

}  // namespace orb::unitview
