#pragma once

#include <array>
#include <string_view>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

// The phases of a tick, each in the file of its name. They know each other only through the world's
// state and what the scratch hands on. P marks those whose costly part is computed by all threads:
// plan (serial), compute (reads the world, writes its own output for each item), apply (serial, in
// the order of slots or requests).
//
//   phase         reads                           writes
//   orders        units, queues                   queues, scratch.wishes, scripts that are started
//   economy       wishes, what units give, take   stocks and shares of players, wind
//   construction  wishes, shares                  progress of sites, new frames, stocks
//   routes     P  wishes, static cells            routes' queue and caches
//   motion     P  wishes, routes, cells           scratch.steps, then places, cells, buckets
//   flight     P  wishes, ground, buckets         scratch.flights, then the same of who flies
//   targets    P  units by bucket, weapons        targets of weapons, whom units go after
//   scripts    P  all of the unit's state         running scripts, then values, events; endedCalls
//   cargo         carriers and their poses        places of who is aboard
//   weapons       wishes, endedCalls, poses       weapons, projectiles, scripts that are started
//   projectiles   units by bucket, ground         projectiles, scratch.damage
//   features      features that burn              the same, what they become, scratch.impacts
//   damage        scratch.damage, impacts         health, deaths, corpses, features, scratch.damage
//   sight      P  places                          what players see

void stepOrders(WorldParts& world, TickScratch& scratch);
void stepEconomy(WorldParts& world, TickScratch& scratch);
void stepConstruction(WorldParts& world, TickScratch& scratch);
void stepRoutes(WorldParts& world, TickScratch& scratch);
void stepMotion(WorldParts& world, TickScratch& scratch);
void stepFlight(WorldParts& world, TickScratch& scratch);
void stepTargets(WorldParts& world, TickScratch& scratch);
void stepScripts(WorldParts& world, TickScratch& scratch);
void stepCargo(WorldParts& world, TickScratch& scratch);
void stepWeapons(WorldParts& world, TickScratch& scratch);
void stepProjectiles(WorldParts& world, TickScratch& scratch);
void stepFeatures(WorldParts& world, TickScratch& scratch);
void stepDamage(WorldParts& world, TickScratch& scratch);
void stepSight(WorldParts& world, TickScratch& scratch);

struct Phase {
    std::string_view name;
    void (*step)(WorldParts&, TickScratch&);
};

/// A tick is these, one after the other.
inline constexpr std::array<Phase, 14> kPhases = {{
    {"orders", stepOrders},
    {"economy", stepEconomy},
    {"construction", stepConstruction},
    {"routes", stepRoutes},
    {"motion", stepMotion},
    {"flight", stepFlight},
    {"targets", stepTargets},
    {"scripts", stepScripts},
    {"cargo", stepCargo},
    {"weapons", stepWeapons},
    {"projectiles", stepProjectiles},
    {"features", stepFeatures},
    {"damage", stepDamage},
    {"sight", stepSight},
}};

}  // namespace orb::sim
