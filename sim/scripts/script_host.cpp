#include "sim/scripts/script_host.h"

#include "cob/cob_vm.h"
#include "sim/cargo/cargo.h"
#include "sim/fight/weapons.h"
#include "sim/numbers/random.h"
#include "sim/phases.h"
#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_values.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

using unitview::CobInstance;
using unitview::CobVm;

/// What the script of one unit may touch while it runs: the world to read, its outbox to write.
struct Host {
    const WorldParts* world;
    const Unit* unit;
    ScriptOutbox* outbox;

    /// What the script itself has set in this tick goes before what the world knows.
    std::int32_t value(std::int32_t id, std::int32_t argument) const {
        const auto set = outbox->values.find(id);
        return set != outbox->values.end() ? set->second : scriptValue(*world, *unit, id, argument);
    }
    std::int32_t random(std::int32_t low, std::int32_t high) const {
        const RandomKey key{world->frame.seed, unit->id, world->state.tick, RandomPurpose::script,
                            outbox->randomCount++};
        return randomBetween(key, low, high);
    }
};

void installCallbacks(CobInstance& instance, const Host& host) {
    using Kind = ScriptDeed::Kind;
    unitview::CobCallbacks& callbacks = instance.callbacks;
    callbacks.getUnitValue = [host](std::int32_t id) { return host.value(id, 0); };
    callbacks.getOverride = [host](std::int32_t id, std::int32_t a1, std::int32_t, std::int32_t,
                                   std::int32_t) { return host.value(id, a1); };
    callbacks.setUnitValue = [host](std::int32_t id, std::int32_t value) {
        if (isSettable(id)) host.outbox->values[id] = value;
    };
    callbacks.random = [host](std::int32_t low, std::int32_t high) {
        return host.random(low, high);
    };
    callbacks.emitSfx = [host](std::int32_t type, std::int32_t piece) {
        host.outbox->add({Kind::emit, type, piece});
    };
    callbacks.explode = [host](std::int32_t piece, std::int32_t flags) {
        host.outbox->add({Kind::explode, piece, flags});
    };
    callbacks.attachUnit = [host](std::int32_t unit, std::int32_t piece, std::int32_t third) {
        host.outbox->add({Kind::attach, unit, piece, third});
    };
    callbacks.dropUnit = [host](std::int32_t unit) { host.outbox->add({Kind::drop, unit}); };
    callbacks.playSound = [host](std::int32_t sound) { host.outbox->add({Kind::sound, sound}); };
}

void actOn(WorldParts& world, Unit& unit, const ScriptDeed& deed) {
    switch (deed.kind) {
        case ScriptDeed::Kind::emit:
            return world.tell(
                unit, Effect{deed.second, deed.first, pieceInWorld(world, unit, deed.second)});
        case ScriptDeed::Kind::explode:
            return world.tell(unit, Explode{deed.first, deed.second});
        case ScriptDeed::Kind::sound:
            return world.tell(unit, Sound{{}, deed.first});
        case ScriptDeed::Kind::attach:
            return attachByScript(world, unit, deed.first, deed.second);
        case ScriptDeed::Kind::drop:
            return dropByScript(world, unit, deed.first);
    }
}

/// Of what a unit stands in, as its script hears of it.
std::int8_t surfaceUnder(const WorldParts& world, const Unit& unit) {
    enum : std::int8_t { carried = 0, shallow = 1, deep = 2, land = 4 };
    if (unit.carrier) return carried;
    const Fixed depth = Fixed::fromInt(world.frame.terrain.seaLevel()) -
                        world.frame.terrain.groundHeight(unit.place);
    if (depth <= Fixed()) return land;
    return depth < unit.type->height ? shallow : deep;
}

void tellScript(WorldParts& world, Unit& unit) {
    const bool moves = unit.motion.speed != Fixed();
    if (moves != unit.values.toldMoving) {
        unit.values.toldMoving = moves;
        startScriptIfThere(world, unit, moves ? UnitScript::startMoving : UnitScript::stopMoving);
    }
    const std::int8_t surface = surfaceUnder(world, unit);
    if (surface != unit.values.toldSurface) {
        unit.values.toldSurface = surface;
        const std::int32_t argument = surface;
        startScriptIfThere(world, unit, UnitScript::setSfxOccupy, {&argument, 1});
    }
}

/// As the unit's own file spells it.
std::string_view scriptName(const Unit& unit, UnitScript script) {
    return unit.type->script->scripts[static_cast<std::size_t>(unit.type->indexOf(script))].name;
}

void collectEndedCalls(const Unit& unit, CobInstance& instance, TickScratch& scratch) {
    for (const auto& [callId, value, wasSignalled] : instance.endedCalls)
        scratch.endedCalls.push_back({unit.slot(), callId, value, wasSignalled});
    instance.endedCalls.clear();
}

}  // namespace

void setUpScript(WorldParts& world, Unit& unit) {
    CobInstance* const instance = world.state.scripts.setUp(unit, world.state.tick);
    if (!instance) return;
    instance->tick = world.state.tick;
    instance->trace.enable(false);
    installCallbacks(*instance, {&world, &unit, &world.state.scripts.outboxOf(unit)});
    unit.sweetSpot = queryPiece(world, unit, UnitScript::sweetSpot);
    tellScriptOfWeapons(world, unit);
}

bool isFullOfThreads(const CobInstance& instance) {
    return instance.threads.size() >= unitview::kMaxConcurrentThreadsPerUnit + kMaxStartedThreads;
}

bool startScriptIfThere(WorldParts& world, const Unit& unit, UnitScript script,
                        std::span<const std::int32_t> arguments) {
    return unit.type->indexOf(script) >= 0 && startScript(world, unit, script, arguments);
}

bool startScript(WorldParts& world, const Unit& unit, UnitScript script,
                 std::span<const std::int32_t> arguments, std::optional<std::uint32_t> callId) {
    CobInstance* const instance = world.state.scripts.of(unit);
    if (!instance) return false;
    const std::int32_t index = unit.type->indexOf(script);
    if (index < 0) {
        world.tellMissing(unit, script);
        return false;
    }
    if (isFullOfThreads(*instance)) return false;
    return CobVm(*instance).startScript(static_cast<std::size_t>(index), arguments, callId);
}

std::int32_t queryPiece(WorldParts& world, Unit& unit, UnitScript script) {
    if (unit.type->indexOf(script) < 0) return unitview::kNoPiece;
    const std::int32_t piece = world.state.scripts.lifecycle().queryPiece(
        static_cast<std::int32_t>(unit.id), scriptName(unit, script));
    actOnScript(world, unit);
    return piece;
}

void queryPieces(WorldParts& world, Unit& unit, UnitScript script, std::span<std::int32_t> pieces) {
    if (unit.type->indexOf(script) < 0) return;
    world.state.scripts.lifecycle().queryPieces(static_cast<std::int32_t>(unit.id),
                                                scriptName(unit, script), pieces);
    actOnScript(world, unit);
}

void actOnScript(WorldParts& world, Unit& unit) {
    ScriptOutbox& outbox = world.state.scripts.outboxOf(unit);
    for (const auto& [id, value] : outbox.values) setScriptValue(world, unit, id, value);
    for (const ScriptDeed& deed : outbox.deeds) actOn(world, unit, deed);
    outbox.values.clear();
    outbox.deeds.clear();
}

void stepScripts(WorldParts& world, TickScratch& scratch) {
    WorldState& state = world.state;
    for (Unit& unit : state.units) {
        state.scripts.outboxOf(unit).randomCount = 0;
        tellScript(world, unit);
    }

    constexpr std::size_t kUnitsPerBlock = 32;
    world.workers.forEach(
        state.units.slotCount(), kUnitsPerBlock, [&](std::size_t slot, std::size_t) {
            const Unit* const unit = state.units.at(slot);
            if (CobInstance* const instance = unit ? state.scripts.of(*unit) : nullptr)
                CobVm(*instance).tick(state.tick, kScriptBudget);
        });

    for (Unit& unit : state.units) {
        CobInstance* const instance = state.scripts.of(unit);
        if (!instance) continue;
        ++scratch.counts.scriptTicks;
        actOnScript(world, unit);
        collectEndedCalls(unit, *instance, scratch);
        state.scripts.notePose(unit, state.tick);
    }
}

}  // namespace orb::sim
