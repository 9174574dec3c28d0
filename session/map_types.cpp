#include "session/map_types.h"

#include <algorithm>
#include <cmath>

#include "io/ascii.h"
#include "model/piece_list.h"
#include "session/build_menus.h"
#include "session/weapon_types.h"

namespace orb::unitview {
namespace {

/// The largest sight that units are known to have is 1,792 pixels.
constexpr std::int32_t kMaxSight = 32'767;
constexpr std::int32_t kMaxHealth = 1'000'000'000;

std::int32_t footprintSide(std::int32_t cells) {
    return std::clamp(cells, 1, sim::kMaxFootprint);
}

std::int32_t intOf(const io::TdfSection& section, std::string_view key, std::int32_t absent) {
    return section.getInt(key).value_or(absent);
}

/// A height or depth of the ground; those have a byte.
std::int32_t groundLimit(const io::TdfSection& section, std::string_view key, std::int32_t absent) {
    return std::clamp(intOf(section, key, absent), 0, sim::rules::kNoLimit);
}

void takeFootprint(sim::UnitType& type, const io::TdfSection& section) {
    type.footprintX = footprintSide(intOf(section, "footprintx", 1));
    type.footprintZ = footprintSide(intOf(section, "footprintz", 1));
}

sim::SiteLimits readLimits(const io::TdfSection& section) {
    sim::SiteLimits limits;
    limits.maxSlope = groundLimit(section, "maxslope", sim::rules::kNoLimit);
    limits.maxWaterSlope = groundLimit(section, "maxwaterslope", limits.maxSlope);
    limits.minWaterDepth = groundLimit(section, "minwaterdepth", 0);
    limits.maxWaterDepth = groundLimit(section, "maxwaterdepth", sim::rules::kNoLimit);
    limits.badSlope = groundLimit(section, "badslope", sim::rules::kNoLimit);
    limits.badWaterSlope = groundLimit(section, "badwaterslope", limits.badSlope);
    return limits;
}

/// Of a unit without a movement class.
sim::SiteLimits readOwnLimits(const io::TdfSection& section, bool floats) {
    sim::SiteLimits limits = readLimits(section);
    if (!section.getInt("maxwaterdepth") && limits.minWaterDepth == 0 && !floats)
        limits.maxWaterDepth = sim::rules::kDryLandDepth;
    return limits;
}

sim::Fixed fixedOf(double value) {
    return sim::Fixed::fromNumber(value);
}

/// A rate of change; one that is missing or senseless is no limit.
sim::Fixed rateOf(float value) {
    const auto most = sim::Fixed::fromInt(sim::kMaxSpeed);
    return value > 0 ? std::clamp(fixedOf(value), sim::Fixed::fromRaw(1), most) : most;
}

sim::MoveLimits readMovement(const io::FbiUnitInfo& fbi) {
    constexpr std::int32_t kHalfTurn = 32'768;
    sim::MoveLimits movement;
    movement.maxSpeed =
        std::clamp(fixedOf(fbi.maxVelocity), sim::Fixed(), sim::Fixed::fromInt(sim::kMaxSpeed));
    movement.acceleration = rateOf(fbi.acceleration);
    movement.brakeRate = rateOf(fbi.brakeRate);
    movement.turnRate = fbi.turnRate > 0 ? std::min(fbi.turnRate, kHalfTurn) : kHalfTurn;
    movement.isUpright = fbi.upright;
    return movement;
}

/// Speeds, heights and scales of aircraft beyond these are none that a map has room for.
sim::Fixed pixelsUpTo(double value, std::int32_t most) {
    return std::clamp(fixedOf(value), sim::Fixed(), sim::Fixed::fromInt(most));
}

sim::AirLimits readAir(const io::TdfSection& section, const io::FbiUnitInfo& fbi) {
    constexpr std::int32_t kMostHeight = 4'096, kMostScale = 8;
    sim::AirLimits air;
    air.cruiseHeight = pixelsUpTo(fbi.cruiseAlt, kMostHeight);
    air.isFromSeaLevel = intOf(section, "altfromsealevel", 0) != 0;
    air.hovers = fbi.hoverAttack || fbi.canHover || fbi.canLoad || fbi.transportCapacity > 0 ||
                 fbi.workerTime > 0;
    air.runLength = pixelsUpTo(fbi.attackRunLength, kMostHeight);
    air.bankScale = pixelsUpTo(fbi.bankScale, kMostScale);
    air.pitchScale = pixelsUpTo(fbi.pitchScale, kMostScale);
    air.moveRates = {pixelsUpTo(section.getFloat("moverate1").value_or(0.0F), sim::kMaxSpeed),
                     pixelsUpTo(fbi.moveRate2, sim::kMaxSpeed)};
    return air;
}

/// A definition that only says that it can load takes one.
sim::HoldLimits readHold(const io::FbiUnitInfo& fbi) {
    sim::HoldLimits hold;
    hold.capacity =
        std::clamp(std::max(fbi.transportCapacity, fbi.canLoad ? 1 : 0), 0, sim::kMaxHold);
    hold.mostFootprint = std::clamp(fbi.transportSize, 0, sim::kMaxFootprint);
    return hold;
}

std::uint8_t standingOrder(std::int32_t state) {
    return static_cast<std::uint8_t>(std::clamp(state, 0, 2));
}

/// How the pieces hang together, and how high the model is.
void takeModel(sim::UnitType& type, const io::Model3doObject& model) {
    std::vector<double> heights;
    double highest = 0;
    for (const auto& [piece, parent] : flattenPieces(model)) {
        const auto& [x, y, z] = piece->position;
        type.pieces.push_back(piece->name);
        type.piecesAtRest.push_back({parent, {fixedOf(x), fixedOf(y), fixedOf(z)}});
        heights.push_back(y + (parent < 0 ? 0 : heights[static_cast<std::size_t>(parent)]));
        for (const auto& vertex : piece->vertices)
            highest = std::max(highest, heights.back() + vertex[1]);
    }
    type.height = fixedOf(highest);
}

/// Of an amount a second, of which there is no need to have more.
constexpr double kMostRate = 100'000'000;

/// What a definition says of stocks: `number` with what its file writes, within limits.
class EconomyReader {
public:
    explicit EconomyReader(const io::TdfSection& section) : section_(section) {}

    double number(std::string_view key, double least, double most) const {
        return std::clamp<double>(section_.getFloat(key).value_or(0.0F), least, most);
    }
    sim::Amount rate(std::string_view key, double least = 0) const {
        return sim::Amount::fromNumber(number(key, least, kMostRate));
    }
    sim::Amount cost(std::string_view key) const {
        return sim::Amount::fromNumber(number(key, 0, static_cast<double>(sim::Amount::kMost)));
    }

private:
    const io::TdfSection& section_;
};

sim::UnitEconomy readEconomy(const io::TdfSection& section, const io::FbiUnitInfo& fbi) {
    constexpr double kMillion = 1e6;
    const EconomyReader from(section);
    sim::UnitEconomy economy;
    economy.buildMetal = from.cost("buildcostmetal");
    economy.buildEnergy = from.cost("buildcostenergy");
    economy.buildTime = static_cast<std::int32_t>(from.number("buildtime", 1, sim::kMaxBuildTime));
    const auto work = static_cast<std::int32_t>(
        from.number("workertime", 0, double{sim::kMaxWorkPerTick} * sim::kTicksPerSecond));
    economy.workPerTick = work > 0 ? std::max(1, work / sim::kTicksPerSecond) : 0;
    economy.buildDistance = sim::Fixed::fromInt(std::clamp(fbi.buildDistance, 0, kMaxSight));
    economy.metalMake = from.rate("metalmake");
    economy.energyMake = from.rate("energymake");
    economy.metalUse = from.rate("metaluse");
    economy.energyUse = from.rate("energyuse", -kMostRate);
    economy.makesMetal = from.rate("makesmetal");
    economy.extraction = std::llround(from.number("extractsmetal", 0, 10) * kMillion);
    economy.windPower = from.rate("windgenerator");
    economy.isTidal = fbi.tidalGenerator;
    economy.metalStorage = from.rate("metalstorage");
    economy.energyStorage = from.rate("energystorage");
    return economy;
}

sim::UnitSenses readSenses(const io::TdfSection& section) {
    const auto flag = [&](std::string_view key) { return intOf(section, key, 0) != 0; };
    const auto distance = [&](std::string_view key) {
        return std::clamp(intOf(section, key, 0), 0, kMaxSight);
    };
    const EconomyReader from(section);
    sim::UnitSenses senses;
    senses.radar = distance("radardistance");
    senses.sonar = distance("sonardistance");
    senses.radarJam = distance("radardistancejam");
    senses.sonarJam = distance("sonardistancejam");
    senses.isStealthy = flag("stealth");
    senses.aimsByRadar = flag("istargetingupgrade");
    senses.cloakCost = from.rate("cloakcost");
    senses.movingCloakCost =
        section.getFloat("cloakcostmoving") ? from.rate("cloakcostmoving") : senses.cloakCost;
    senses.beginsCloaked = flag("init_cloaked");
    senses.canCloak = senses.beginsCloaked || senses.cloakCost > sim::Amount() ||
                      senses.movingCloakCost > sim::Amount();
    senses.uncloakDistance = sim::Fixed::fromInt(distance("mincloakdistance"));
    return senses;
}

/// What builders may build, what can be done to it, and how it ends.
void takeWork(sim::UnitType& type, const GameTables& tables, const LoadedUnit& unit) {
    constexpr std::int32_t kMostSeconds = 3'600;
    const io::FbiUnitInfo& fbi = unit.fbi;
    type.economy = readEconomy(unit.unitInfo(), fbi);
    type.sendsProducts = type.isBuilding && fbi.canMove && type.economy.workPerTick > 0;
    type.canReclaim = fbi.canReclamate;
    type.canCapture = fbi.canCapture;
    type.selfDestructTicks =
        std::clamp(fbi.selfDestructCountdown, 0, kMostSeconds) * sim::kTicksPerSecond;
    if (fbi.healTime > 0)
        type.healing = sim::Amount::fromNumber(static_cast<double>(type.maxHealth) / fbi.healTime);
    for (const std::string& option : buildableUnits(fbi, tables.buildMenus.of(unit.name)))
        type.buildOptions.push_back(io::upperCased(option));
}

sim::Tick secondsOf(const io::TdfSection& section, std::string_view key, float absent) {
    constexpr float kMost = 3'600;
    const float seconds = std::clamp(section.getFloat(key).value_or(absent), 0.0F, kMost);
    return std::max(1, static_cast<sim::Tick>(seconds * sim::kTicksPerSecond));
}

sim::Burning readBurning(const GameTables& tables, const io::TdfSection& section) {
    sim::Burning burning;
    // So spelt.
    burning.isFlammable = intOf(section, "flamable", 0) != 0;
    if (!burning.isFlammable) return burning;
    burning.least = secondsOf(section, "burnmin", sim::rules::kBurnSecondsLeast);
    burning.most =
        std::max(burning.least, secondsOf(section, "burnmax", sim::rules::kBurnSecondsMost));
    burning.sparkEvery = secondsOf(section, "sparktime", sim::rules::kSparkSeconds);
    burning.spreadPercent = std::clamp(intOf(section, "spreadchance", 0), 0, 100);
    const std::string weapon(section.getString("burnweapon").value_or(""));
    if (const auto found = weapon.empty() ? nullptr : makeWeaponType(tables, weapon)) {
        // Else it would burn down by the damage that it does itself.
        auto harmless = std::make_shared<sim::WeaponType>(*found);
        harmless->isOnlyForUnits = true;
        burning.weapon = std::move(harmless);
    }
    return burning;
}

}  // namespace

sim::FeatureType makeFeatureType(const GameTables& tables, const std::string& name) {
    sim::FeatureType type;
    type.name = name;
    const TableEntry* const entry = tables.features.find(name);
    type.isMissing = entry == nullptr;
    if (type.isMissing) return type;

    const io::TdfSection& section = entry->section;
    const auto text = [&](std::string_view key) {
        return std::string(section.getString(key).value_or(""));
    };
    type.name = entry->name;
    type.footprintX = footprintSide(intOf(section, "footprintx", 1));
    type.footprintZ = footprintSide(intOf(section, "footprintz", 1));
    type.height = std::max(0, intOf(section, "height", 0));
    type.isBlocking = intOf(section, "blocking", 0) != 0;
    if (intOf(section, "indestructible", 0) == 0)
        type.health = sim::Amount::fromInt(std::clamp(intOf(section, "damage", 0), 0, kMaxHealth));
    type.isReclaimable = intOf(section, "reclaimable", 0) != 0;
    type.isForPatrols = intOf(section, "autoreclaimable", 1) != 0;
    type.isDeposit = intOf(section, "indestructible", 0) != 0 && !type.isReclaimable &&
                     section.getFloat("metal").value_or(0.0F) > 0;
    type.isGeothermal = intOf(section, "geothermal", 0) != 0;
    type.burning = readBurning(tables, section);
    type.metal = section.getFloat("metal").value_or(0.0F);
    type.energy = section.getFloat("energy").value_or(0.0F);
    type.object = text("object");
    type.pictureFile = text("filename");
    type.pictureSequence = text("seqname");
    return type;
}

sim::UnitType makeUnitType(const GameTables& tables, const LoadedUnit& unit) {
    const io::FbiUnitInfo& fbi = unit.fbi;
    sim::UnitType type;
    type.name = unit.name;
    type.isBuilding = fbi.bmCode == 0;
    type.canFly = fbi.canFly;
    type.floats = fbi.floater;
    type.waterline = static_cast<std::int32_t>(std::clamp(fbi.waterline, 0.0F, 255.0F));
    type.maxHealth = std::clamp(fbi.maxDamage, 1, kMaxHealth);
    type.sightDistance = std::clamp(fbi.sightDistance, 0, kMaxSight);
    type.isActiveWhenBuilt = !type.isBuilding || fbi.activateWhenBuilt;
    type.movement = readMovement(fbi);
    type.air = readAir(unit.unitInfo(), fbi);
    type.hold = readHold(fbi);
    type.canBeCarried = !fbi.cantBeTransported;
    type.canMove = !type.isBuilding && fbi.canMove && type.movement.maxSpeed > sim::Fixed();
    type.moveState = standingOrder(fbi.standingMoveOrder);
    type.fireState = standingOrder(fbi.standingFireOrder);
    type.script = unit.cob;
    if (unit.cob) type.scripts = sim::findScripts(*unit.cob);
    takeModel(type, unit.model);
    takeWeapons(type, tables, fbi);
    takeWork(type, tables, unit);
    type.senses = readSenses(unit.unitInfo());

    const TableEntry* const movement = tables.movementClasses.find(fbi.movementClass);
    takeFootprint(type, movement ? movement->section : unit.unitInfo());
    type.limits =
        movement ? readLimits(movement->section) : readOwnLimits(unit.unitInfo(), type.floats);
    type.limits.canHover = fbi.canHover;
    // Ships have a waterline, whether or not they say that they float.
    if (type.waterline > 0 && type.limits.minWaterDepth > 0) type.floats = true;
    if (type.isBuilding) type.yard = sim::yardOf(fbi.yardMap, type.footprintX, type.footprintZ);
    type.becomesFeature =
        intOf(unit.unitInfo(), "isfeature", 0) != 0 || type.yard.find('f') != std::string::npos;
    return type;
}

}  // namespace orb::unitview
