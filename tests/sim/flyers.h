#pragma once

#include <cmath>

#include "sim/battlefield.h"

namespace orb::sim {

/// What tests of aircraft and carriers share.
inline std::shared_ptr<UnitType> planeType(bool hovers = false) {
    auto type = std::make_shared<UnitType>();
    type->name = "PLANE";
    type->footprintX = type->footprintZ = 2;
    type->canMove = type->canFly = true;
    type->maxHealth = 100;
    type->height = px(10);
    type->limits.maxSlope = 10;
    type->limits.maxWaterDepth = 0;
    type->movement = {.maxSpeed = px(6),
                      .acceleration = px(0.3),
                      .brakeRate = px(0.5),
                      .turnRate = 900,
                      .isUpright = false};
    type->air = {.cruiseHeight = px(60),
                 .isFromSeaLevel = false,
                 .hovers = hovers,
                 .runLength = px(100),
                 .bankScale = px(1),
                 .pitchScale = px(1),
                 .moveRates = {px(4), {}}};
    return type;
}

inline std::shared_ptr<UnitType> walkerType(std::string_view name = "WALKER") {
    auto type = std::make_shared<UnitType>();
    type->name = name;
    type->footprintX = type->footprintZ = 2;
    type->canMove = true;
    type->maxHealth = 100;
    type->height = px(12);
    type->limits.maxWaterDepth = 5;
    type->movement = {.maxSpeed = px(2),
                      .acceleration = px(0.25),
                      .brakeRate = px(0.25),
                      .turnRate = 1'500,
                      .isUpright = false};
    return type;
}

inline void giveScript(UnitType& type, std::string_view source, std::vector<std::string> pieces) {
    const auto compiled = unitview::bos::compileBos(source, "unit.bos", nullptr);
    ASSERT_TRUE(compiled.ok);
    type.script = std::make_shared<io::CobFile>(compiled.code.cob);
    type.scripts = findScripts(*type.script);
    type.piecesAtRest.resize(pieces.size());
    for (std::size_t i = 1; i < pieces.size(); ++i) type.piecesAtRest[i].parent = 0;
    type.pieces = std::move(pieces);
}

inline OrderRequest orderAt(OrderKind kind, double x, double z, bool isQueued = false) {
    OrderRequest order;
    order.kind = kind;
    order.place = at(x, z);
    order.isQueued = isQueued;
    return order;
}

inline OrderRequest orderOn(OrderKind kind, const Unit& target) {
    OrderRequest order;
    order.kind = kind;
    order.target = target.id;
    return order;
}

inline double distance(const Unit& unit, double x, double z) {
    return std::hypot(unit.place.x.toNumber() - x, unit.place.z.toNumber() - z);
}

/// What its script counts or notes.
inline std::int32_t staticOf(const Battlefield& field, const Unit& unit, std::size_t index) {
    return field.world.state.scripts.of(unit)->statics.at(index);
}

}  // namespace orb::sim
