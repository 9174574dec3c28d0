#include "session/map_play.h"

#include <algorithm>

#include "io/ascii.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

bool isIdle(const sim::World& world) {
    const auto waits = [](const sim::Order& order) {
        using enum sim::OrderSource;
        return order.source == chase || order.source == chore ||
               order.kind == sim::OrderKind::patrol || order.kind == sim::OrderKind::guard;
    };
    return std::all_of(world.units().begin(), world.units().end(), [&](const sim::Unit& unit) {
        return std::ranges::all_of(unit.orders, waits);
    });
}

bool isOver(const sim::World& world, const PlayUntil& until) {
    return (until.eventKind && world.events().hasSeen(*until.eventKind)) ||
           (until.isIdle && isIdle(world));
}

}  // namespace

Play playTicks(LoadedMap& map, const PlayRequest& request) {
    sim::World& world = map.world;
    const auto begin = std::chrono::steady_clock::now();
    for (const auto& [player, metal, energy] : request.stocks)
        world.setStocks(player, metal, energy);
    if (!request.keepsEvents) world.events().clear();
    world.events().keep(request.keepsEvents);
    world.events().watchAnew();
    Play play;
    const std::int64_t ticks = std::clamp<std::int64_t>(request.ticks, 1, kMaxTicksPerPlay);
    while (play.ticksDone < ticks) {
        world.runTick();
        ++play.ticksDone;
        if (request.until && isOver(world, *request.until)) {
            play.end = PlayEnd::until;
            break;
        }
        if (play.ticksDone < ticks && std::chrono::steady_clock::now() - begin > kLongestPlay) {
            play.end = PlayEnd::time;
            break;
        }
    }
    // What orders cause is told by the next play.
    world.events().keep(true);
    return play;
}

sim::OrderRequest preparedOrder(LoadedMap& map, const MountedData& data, MapOrder order) {
    if (order.order.place && !map.world.terrain().contains(*order.order.place))
        throw RequestError("position outside the map");
    if (order.order.kind == sim::OrderKind::build)
        order.order.product =
            reportingFailure([&] { return unitTypeOf(map, data, order.product); });
    return std::move(order.order);
}

void requireScript(const sim::UnitType& type, const sim::OrderRequest& request) {
    if (request.kind != sim::OrderKind::script) return;
    if (!type.script || type.script->findScript(request.script) < 0)
        throw RequestError("script not found: " + request.script);
}

std::vector<sim::OrderAnswer> giveOrder(LoadedMap& map, std::span<const std::int64_t> unitIds,
                                        const sim::OrderRequest& request) {
    for (const std::int64_t id : unitIds)
        if (const sim::Unit* const unit = map.world.units().withId(id))
            requireScript(*unit->type, request);
    return map.world.giveOrder(unitIds, request);
}

bool replaceMapScripts(LoadedMap& map, const std::string& unitName,
                       const std::shared_ptr<const io::CobFile>& script, bool isTemporary) {
    const std::string key = io::upperCased(unitName);
    map.temporaryScripts.erase(key);
    if (isTemporary) map.temporaryScripts[key] = script;
    // One for each that they had: others may be of an older reading of the files.
    std::vector<std::pair<const sim::UnitType*, std::shared_ptr<const sim::UnitType>>> replaced;
    const auto made = [&](const sim::UnitType& own) {
        for (const auto& [old, type] : replaced)
            if (old == &own) return type;
        auto type = std::make_shared<sim::UnitType>(own);
        type->script = script;
        type->scripts = script ? sim::findScripts(*script) : sim::noScripts();
        return replaced.emplace_back(&own, std::move(type)).second;
    };
    // Units that come later run it too.
    if (const auto known = map.unitTypes.find(key); known != map.unitTypes.end())
        known->second = made(*known->second);
    return map.world.replaceTypes([&](const sim::UnitType& type) {
        return io::equalsIgnoringCase(type.name, unitName) ? made(type) : nullptr;
    });
}

}  // namespace orb::unitview
