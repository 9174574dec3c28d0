#pragma once

#include "sim/battlefield.h"

/// Who gives, takes and builds, for tests.
namespace orb::sim {

constexpr Amount whole(std::int64_t value) {
    return Amount::fromInt(value);
}

/// A building without a script that gives and takes what the test says.
inline std::shared_ptr<UnitType> plant(const UnitEconomy& economy) {
    auto type = dummyType();
    type->economy = economy;
    return type;
}

inline Stock& metalOf(Battlefield& field) {
    return field.world.state.players[0].metal;
}
inline Stock& energyOf(Battlefield& field) {
    return field.world.state.players[0].energy;
}

inline void setStocks(Battlefield& field, std::int64_t metal, std::int64_t energy) {
    metalOf(field).amount = whole(metal);
    energyOf(field).amount = whole(energy);
    metalOf(field).ownStorage = energyOf(field).ownStorage = whole(1'000'000);
}

/// Builds things that take so much work; from where it stands.
inline std::shared_ptr<UnitType> crane(std::int32_t workPerTick) {
    auto type = std::make_shared<UnitType>();
    type->name = "CRANE";
    type->maxHealth = 100;
    type->canReclaim = type->canCapture = true;
    type->economy.workPerTick = workPerTick;
    type->economy.buildDistance = px(100);
    type->buildOptions = {"DUMMY"};
    return type;
}

inline std::shared_ptr<UnitType> product(std::int32_t buildTime, std::int64_t metal,
                                         std::int64_t energy) {
    auto type = dummyType(1'000);
    type->economy.buildTime = buildTime;
    type->economy.buildMetal = whole(metal);
    type->economy.buildEnergy = whole(energy);
    return type;
}

inline OrderRequest buildOrder(std::shared_ptr<const UnitType> type, double x, double z) {
    OrderRequest order;
    order.kind = OrderKind::build;
    order.product = std::move(type);
    order.place = at(x, z);
    return order;
}

inline Unit* unitNamed(Battlefield& field, std::string_view name) {
    for (Unit& unit : field.world.state.units)
        if (unit.type->name == name) return &unit;
    return nullptr;
}

/// To build, mend or whatever the kind is, a unit.
inline OrderRequest orderAt(OrderKind kind, const Unit& target) {
    OrderRequest order;
    order.kind = kind;
    order.target = target.id;
    return order;
}

}  // namespace orb::sim
