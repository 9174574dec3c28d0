#include "sim/world_state.h"

#include "sim/state_fields.h"

namespace orb::sim {
namespace {

using unitview::CobInstance;
using unitview::CobThread;

/// A script's records of pieces are floats and stay out: where they come back into the world,
/// `piece_pose` rounds them, and what it gave shows in the state.
template <typename Sink>
void putThread(Sink& sink, const CobThread& thread) {
    sink.open("thread");
    putState(sink, "id", thread.id);
    putState(sink, "state", thread.state);
    putState(sink, "pc", thread.pc);
    putState(sink, "stack", thread.stack.words());
    putState(sink, "returnPcs", thread.returnPcs);
    for (std::size_t i = 0; i < thread.frames.count(); ++i)
        putState(sink, "frame", thread.frames.frame(i));
    putState(sink, "sleepUntil", thread.sleepUntil);
    putState(sink, "waitPiece", thread.waitPiece);
    putState(sink, "waitAxis", thread.waitAxis);
    putState(sink, "signalMask", thread.signalMask);
    putState(sink, "callId", thread.callId);
    sink.close();
}

template <typename Sink>
void putScripts(Sink& sink, const WorldState& state) {
    for (const Unit& unit : state.units) {
        const CobInstance* const instance = state.scripts.of(unit);
        sink.open("script");
        sink.number("isThere", instance ? 1 : 0);
        if (instance) {
            putState(sink, "statics", instance->statics);
            putState(sink, "nextTurn", instance->nextTurn);
            for (const auto& thread : instance->threads) putThread(sink, *thread);
        }
        sink.close();
    }
}

template <typename Sink>
void putPart(Sink& sink, const WorldState& state, StatePart part) {
    switch (part) {
        case StatePart::units:
            putState(sink, "tick", state.tick);
            return putState(sink, "units", state.units);
        case StatePart::scripts:
            return putScripts(sink, state);
        case StatePart::orders:
            for (const Unit& unit : state.units) putState(sink, "orders", unit.orders);
            return;
        case StatePart::projectiles:
            return putState(sink, "projectiles", state.projectiles);
        case StatePart::features:
            putState(sink, "features", state.features);
            return putState(sink, "fires", state.fires);
        case StatePart::routes:
            return putState(sink, "routes", state.routes);
        case StatePart::economy:
            putState(sink, "wind", state.wind);
            return putState(sink, "players", state.players);
        case StatePart::sight:
            for (const Unit& unit : state.units) {
                putState(sink, "sight", unit.sight);
                putState(sink, "cloak", unit.cloak);
            }
            return putState(sink, "found", state.found);
    }
}

template <typename Visit>
void forEachPart(Visit visit) {
    for (std::size_t i = 0; i < kStatePartNames.size(); ++i) visit(static_cast<StatePart>(i), i);
}

}  // namespace

StateHash hashState(const WorldParts& world) {
    StateHash hash;
    forEachPart([&](StatePart part, std::size_t index) {
        HashSink sink;
        putPart(sink, world.state, part);
        hash.parts.at(index) = sink.value();
    });
    return hash;
}

std::string dumpState(const WorldParts& world) {
    DumpSink sink;
    forEachPart([&](StatePart part, std::size_t index) {
        sink.open(kStatePartNames.at(index));
        putPart(sink, world.state, part);
        sink.close();
    });
    return sink.take();
}

}  // namespace orb::sim
