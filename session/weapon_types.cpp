#include "session/weapon_types.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "io/ascii.h"
#include "sim/rules.h"

namespace orb::unitview {
namespace {

using sim::Fixed;
using sim::Tick;

/// Reads one weapon's section; every number comes back within its limits.
class WeaponReader {
public:
    explicit WeaponReader(const io::TdfSection& section) : section_(section) {}

    bool flag(std::string_view key) const { return section_.getInt(key).value_or(0) != 0; }
    double number(std::string_view key, double least, double most, double absent = 0) const {
        return std::clamp<double>(section_.getFloat(key).value_or(static_cast<float>(absent)),
                                  least, most);
    }
    Tick ticks(std::string_view key, Tick least = 0, double absentSeconds = 0) const {
        const double seconds = number(key, 0, 1e6, absentSeconds);
        return std::clamp(static_cast<Tick>(std::lround(seconds * sim::kTicksPerSecond)), least,
                          sim::kMaxWeaponTicks);
    }
    /// Of a speed in pixels per second.
    Fixed perTick(std::string_view key) const {
        return Fixed::fromNumber(
            std::min<double>(number(key, 0, 1e6) / sim::kTicksPerSecond, sim::kMaxShotSpeed));
    }
    std::int32_t steps(std::string_view key, double most, double absent = 0) const {
        return static_cast<std::int32_t>(std::lround(number(key, 0, most, absent)));
    }

private:
    const io::TdfSection& section_;
};

constexpr double kHalfTurnSteps = 32'768;

sim::Flight flightOf(const WeaponReader& weapon) {
    if (weapon.flag("dropped")) return sim::Flight::dropped;
    if (weapon.flag("ballistic")) return sim::Flight::ballistic;
    if (weapon.flag("vlaunch")) return sim::Flight::vertical;
    if (weapon.flag("cruise")) return sim::Flight::cruise;
    if (weapon.flag("guidance") || weapon.flag("tracks")) return sim::Flight::guided;
    return sim::Flight::straight;
}

void readFlags(sim::WeaponType& type, const WeaponReader& weapon) {
    type.flight = flightOf(weapon);
    type.isTurret = weapon.flag("turret");
    type.needsFreeLine = weapon.flag("lineofsight") || type.flight == sim::Flight::straight;
    type.isWaterWeapon = weapon.flag("waterweapon");
    type.isInterceptor = weapon.flag("interceptor");
    type.isCommandFire = weapon.flag("commandfire") || type.isInterceptor;
    type.isStockpiled = weapon.flag("stockpile");
    type.isTargetable = weapon.flag("targetable");
    type.isOnlyForAircraft = weapon.flag("toairweapon");
    type.isOnlyForUnits = weapon.flag("unitsonly");
    type.isParalyzer = weapon.flag("paralyzer");
    type.goesOn = weapon.flag("noexplode");
    type.slidesOverGround = weapon.flag("groundbounce");
    type.burstsAtEnd = weapon.flag("burnblow");
    type.fliesBeyondRange = weapon.flag("noautorange");
}

void readFlight(sim::WeaponType& type, const WeaponReader& weapon) {
    type.range = Fixed::fromNumber(weapon.number("range", 0, sim::kMaxRange));
    type.coverage = Fixed::fromNumber(weapon.number("coverage", 0, sim::kMaxRange));
    type.speed =
        std::max(weapon.perTick("weaponvelocity"), Fixed::fromInt(sim::rules::kLeastShotSpeed));
    type.startSpeed = std::clamp(weapon.perTick("startvelocity"),
                                 Fixed::fromInt(sim::rules::kLeastShotSpeed), type.speed);
    type.acceleration = Fixed::fromNumber(std::min<double>(
        weapon.number("weaponacceleration", 0, 1e9) / (sim::kTicksPerSecond * sim::kTicksPerSecond),
        sim::kMaxShotSpeed));
    if (type.acceleration == Fixed()) type.startSpeed = type.speed;
    type.turnPerTick = weapon.steps("turnrate", 1e6) / sim::kTicksPerSecond;
    type.life = weapon.ticks("weapontimer");
    type.lifeSpread = weapon.ticks("randomdecay");
    type.thrust = weapon.ticks("flighttime");
}

void readFiring(sim::WeaponType& type, const WeaponReader& weapon) {
    constexpr double kMostCost = 1e9;
    type.reload = weapon.ticks("reloadtime", 1);
    type.burst = static_cast<std::int32_t>(weapon.number("burst", 1, sim::kMaxBurst, 1));
    type.burstGap = weapon.ticks("burstrate", 1);
    type.spray = std::min(
        weapon.steps("sprayangle", kHalfTurnSteps) + weapon.steps("accuracy", kHalfTurnSteps),
        static_cast<std::int32_t>(kHalfTurnSteps));
    type.tolerance = weapon.steps("tolerance", kHalfTurnSteps, sim::rules::kAimTolerance);
    type.pitchTolerance = weapon.steps("pitchtolerance", kHalfTurnSteps, type.tolerance);
    constexpr double kStepsPerDegree = 65'536.0 / 360;
    type.leastPitch = static_cast<std::int32_t>(
        std::lround(weapon.number("minbarrelangle", -90, 90, -90) * kStepsPerDegree));
    type.energyPerShot = sim::Amount::fromNumber(weapon.number("energypershot", 0, kMostCost));
    type.metalPerShot = sim::Amount::fromNumber(weapon.number("metalpershot", 0, kMostCost));
}

sim::Amount damageOf(float value) {
    return sim::Amount::fromNumber(
        std::clamp(static_cast<double>(value), 0.0, static_cast<double>(sim::kMaxDamage)));
}

void readDamage(sim::WeaponType& type, const WeaponReader& weapon, const io::TdfSection& section) {
    type.damageRadius = Fixed::fromNumber(weapon.number("areaofeffect", 0, sim::kMaxRange) / 2);
    type.edgeShare = Fixed::fromNumber(weapon.number("edgeeffectiveness", 0, 1));
    type.firePercent = static_cast<std::int32_t>(weapon.number("firestarter", 0, 100));
    const io::TdfSection* const damage = section.child("damage");
    if (!damage) return;
    type.damage = damageOf(damage->getFloat("default").value_or(0));
    type.unitDamage.reserve(damage->values.size());
    for (const auto& [unit, text] : damage->values)
        if (!io::equalsIgnoringCase(unit, "default"))
            type.unitDamage.push_back(
                {io::upperCased(unit), damageOf(io::tdfFloat(text).value_or(0))});
    std::ranges::sort(type.unitDamage, {}, &sim::UnitDamage::unit);
}

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    std::istringstream stream(io::upperCased(text));
    for (std::string word; stream >> word;) words.push_back(std::move(word));
    return words;
}

}  // namespace

std::shared_ptr<const sim::WeaponType> makeWeaponType(const GameTables& tables,
                                                      const std::string& name) {
    const TableEntry* const entry = tables.weapons.find(name);
    if (!entry) return nullptr;
    const WeaponReader weapon(entry->section);
    auto type = std::make_shared<sim::WeaponType>();
    type->name = entry->name;
    readFlags(*type, weapon);
    readFlight(*type, weapon);
    readFiring(*type, weapon);
    readDamage(*type, weapon, entry->section);
    return type;
}

void takeWeapons(sim::UnitType& type, const GameTables& tables, const io::FbiUnitInfo& fbi) {
    // What files may say of armour; 1 is none.
    constexpr double kMostModifier = 16;
    const std::array<const std::string*, 3> weapons = {&fbi.weapon1, &fbi.weapon2, &fbi.weapon3};
    const std::array<const std::string*, 3> badTargets = {
        &fbi.wpriBadTargetCategory, &fbi.wsecBadTargetCategory, &fbi.wspeBadTargetCategory};
    for (std::size_t slot = 0; slot < weapons.size(); ++slot) {
        type.weapons[slot] = makeWeaponType(tables, *weapons[slot]);
        if (type.weapons[slot]) type.weaponSlots.push_back(static_cast<int>(slot));
        type.badTargets[slot] = wordsOf(*badTargets[slot] + ' ' + fbi.badTargetCategory);
    }
    type.notChased = wordsOf(fbi.noChaseCategory);
    if (fbi.maneuverLeashLength > 0)
        type.leash = sim::Fixed::fromInt(std::min(fbi.maneuverLeashLength, sim::kMaxRange));
    type.explodeAs = makeWeaponType(tables, fbi.explodeAs);
    type.selfDestructAs = makeWeaponType(tables, fbi.selfDestructAs);
    type.categories = wordsOf(fbi.category);
    type.damageModifier = sim::Fixed::fromNumber(
        std::clamp<double>(static_cast<double>(fbi.damageModifier), 0, kMostModifier));
    type.isImmuneToParalyzer = fbi.immuneToParalyzer;
}

}  // namespace orb::unitview
