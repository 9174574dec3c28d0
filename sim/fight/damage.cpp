#include "sim/fight/damage.h"

#include <algorithm>
#include <array>

#include "sim/fight/aim_points.h"
#include "sim/fight/remains.h"
#include "sim/fight/weapons.h"
#include "sim/phases.h"
#include "sim/scripts/script_host.h"

namespace orb::sim {
namespace {

/// Units and cells that the explosions of one tick may look at in search of what they hurt; those
/// beyond hurt only what they hit. Thousands of explosions as large as the map would take minutes
/// otherwise; a battle of thousands looks at some ten thousand.
constexpr std::uint64_t kMaxAreaTests = 20'000'000;

/// Of one hit; an explosion as large as the map may hurt thousands, and there may be thousands.
constexpr std::size_t kMaxVictimsTold = 64;

/// From a point to the nearest of a unit's box: its footprint from its feet to its height.
Fixed distanceTo(const Unit& unit, const Vector& point) {
    const auto outside = [](Fixed value, Fixed least, Fixed most) {
        return value - std::clamp(value, least, most);
    };
    const Fixed halfX = Fixed::fromInt(unit.type->footprintX * kCellPixels / 2);
    const Fixed halfZ = Fixed::fromInt(unit.type->footprintZ * kCellPixels / 2);
    return lengthOf(Vector{outside(point.x, unit.place.x - halfX, unit.place.x + halfX),
                           outside(point.y, unit.altitude, unit.altitude + unit.type->height),
                           outside(point.z, unit.place.z - halfZ, unit.place.z + halfZ)});
}

/// In percent of what it can take, how much more than it had the last hit was.
std::int32_t severityOf(const Unit& unit, Amount hit, Amount before) {
    constexpr std::int64_t kMost = 200;
    const std::int64_t percent = (hit - before).raw() * 100 / std::max(1, unit.type->maxHealth);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(percent / Fixed::kOne, 0, kMost));
}

void tellScriptOfHit(WorldParts& world, Unit& unit, Angle heading) {
    if (unit.lastAttackedAt == world.state.tick) return;
    unit.lastAttackedAt = world.state.tick;
    startScriptIfThere(world, unit, UnitScript::hitByWeapon, rocking(unit, heading));
}

/// What armour lets through.
Amount effectOn(const Unit& unit, Amount amount) {
    return unit.values.isArmored ? amount.times(unit.type->damageModifier, Rounding::nearest)
                                 : amount;
}

void paralyze(const WorldParts& world, Unit& unit, Amount ticks) {
    if (unit.type->isImmuneToParalyzer) return;
    const std::int64_t length = std::min<std::int64_t>(ticks.floor(), kMaxWeaponTicks);
    unit.stunnedUntil = std::max(unit.stunnedUntil, world.state.tick + static_cast<Tick>(length));
    if (unit.isStunned(world.state.tick)) unit.motion.speed = {};
}

/// Takes hit points, or time, from a unit; it may die of it.
void hurt(WorldParts& world, TickScratch& scratch, Unit& unit, const Damage& damage,
          bool isParalyzer) {
    if (!unit.isPresent()) return;
    tellScriptOfHit(world, unit, damage.heading);
    if (damage.by) unit.lastAttacker = damage.by;
    if (isParalyzer) return paralyze(world, unit, damage.amount);
    const Amount before = unit.health;
    unit.health -= damage.amount;
    if (unit.health > Amount()) return;
    if (Unit* const killer = world.state.units.find(damage.by); killer && killer != &unit)
        ++killer->kills;
    killUnit(world, scratch, unit, severityOf(unit, damage.amount, before), DeathKind::killed);
}

/// One impact at work: whom it hurts is told before anybody dies of it.
class Blast {
public:
    Blast(WorldParts& world, TickScratch& scratch, const Impact& impact)
        : world_(world), scratch_(scratch), impact_(impact) {}

    void run() {
        if (const Unit* const direct = world_.state.units.find(impact_.direct))
            add(*direct, Fixed(), impact_.heading);
        if (weapon().damageRadius > Fixed()) findUnits();
        tell();
        for (const Damage& damage : damages_)
            hurt(world_, scratch_, *world_.state.units.find(damage.victim), damage,
                 weapon().isParalyzer);
        if (!weapon().isOnlyForUnits && !weapon().isParalyzer) hurtFeatures();
    }

private:
    const WeaponType& weapon() const { return *impact_.weapon; }

    void tell() {
        const Unit* const by = world_.state.units.find(impact_.by);
        Hit hit{weapon().name, impact_.place, {}, 0};
        const std::size_t told = std::min(damages_.size(), kMaxVictimsTold);
        hit.damaged.reserve(told);
        for (std::size_t i = 0; i < told; ++i)
            hit.damaged.push_back({damages_[i].victim.slot + 1, damages_[i].amount});
        hit.moreDamaged = damages_.size() - told;
        world_.events.add({world_.state.tick, by ? by->id : 0, nullptr, std::move(hit)});
    }

    void add(const Unit& unit, Fixed distance, Angle heading) {
        if (!unit.isPresent()) return;
        const Amount whole = weapon().damageTo(unit.type->name);
        const Amount effect = effectOn(unit, weapon().damageAt(distance, whole));
        if (effect > Amount()) damages_.push_back({unit.ref(), effect, heading, impact_.by});
    }

    void findUnits() {
        if (scratch_.areaTests >= kMaxAreaTests) return;
        // The farthest corner of the largest footprint.
        const Fixed largest = Fixed::fromInt(world_.derived.largestFootprint * kCellPixels * 3 / 4);
        world_.derived.buckets.findWithin(world_.state.units, {impact_.place.x, impact_.place.z},
                                          weapon().damageRadius + largest, scratch_.found);
        scratch_.areaTests += scratch_.found.size();
        for (const std::uint32_t slot : scratch_.found) {
            const Unit& unit = *world_.state.units.at(slot);
            if (unit.ref() == impact_.direct) continue;
            const Fixed distance = distanceTo(unit, impact_.place);
            if (distance <= weapon().damageRadius)
                add(unit, distance,
                    headingOf(unit.place.x - impact_.place.x, unit.place.z - impact_.place.z));
        }
        scratch_.found.clear();
    }

    /// What was hit, and each blocking feature that has a cell within the radius, once.
    void hurtFeatures() {
        std::vector<std::pair<std::uint32_t, Fixed>> hurt;
        if (impact_.feature != 0) hurt.emplace_back(impact_.feature, Fixed());
        if (weapon().damageRadius > Fixed()) findFeatures(hurt);
        for (const auto& [id, distance] : hurt) {
            damageFeature(world_, id, weapon().damageAt(distance, weapon().damage));
            maySetOnFire(world_, id, weapon().firePercent);
        }
    }

    void findFeatures(std::vector<std::pair<std::uint32_t, Fixed>>& found) {
        const auto side =
            2 * static_cast<std::int64_t>(weapon().damageRadius.floor()) / kCellPixels + 2;
        if (scratch_.areaTests >= kMaxAreaTests) return;
        const Cell corner{(impact_.place.x - weapon().damageRadius).floor() >> 4,
                          (impact_.place.z - weapon().damageRadius).floor() >> 4};
        const CellRect cells =
            onMap({corner, static_cast<std::int32_t>(side), static_cast<std::int32_t>(side)});
        scratch_.areaTests += static_cast<std::uint64_t>(std::max(0, cells.width)) *
                              static_cast<std::uint64_t>(std::max(0, cells.depth));
        forEachCell(cells, [&](Cell cell) {
            const CellOwner owner = world_.state.occupancy.ownerOf(cell);
            if (owner.kind() != CellOwner::Kind::feature) return;
            const Fixed distance = distanceToFeature(owner.id(), CellRect{cell, 1, 1}.center());
            if (distance <= weapon().damageRadius) found.emplace_back(owner.id(), distance);
        });
        // The nearest cell of each counts.
        std::ranges::sort(found);
        const auto isSame = [](const auto& a, const auto& b) { return a.first == b.first; };
        found.erase(std::unique(found.begin(), found.end(), isSame), found.end());
    }

    /// From the hit to a place of a feature, between its feet and its height.
    Fixed distanceToFeature(std::uint32_t id, GroundPoint place) const {
        Vector way{place.x - impact_.place.x, {}, place.z - impact_.place.z};
        const Feature* const feature = world_.state.features.find(id);
        if (!feature) return lengthOf(way);
        const std::int32_t height = world_.frame.featureTypes[feature->type].height;
        const Fixed top = feature->altitude + Fixed::fromInt(height);
        way.y = impact_.place.y - std::clamp(impact_.place.y, feature->altitude, top);
        return lengthOf(way);
    }

    CellRect onMap(const CellRect& cells) const {
        const Terrain& terrain = world_.frame.terrain;
        const std::int32_t x = std::max(0, cells.corner.x), z = std::max(0, cells.corner.z);
        return {{x, z},
                std::min(cells.corner.x + cells.width, terrain.cellsX()) - x,
                std::min(cells.corner.z + cells.depth, terrain.cellsZ()) - z};
    }

    WorldParts& world_;
    TickScratch& scratch_;
    Impact impact_;
    std::vector<Damage> damages_;
};

/// What a unit's script says that it leaves; nothing is left of one that was never finished.
std::int32_t askForCorpse(WorldParts& world, Unit& unit, std::int32_t severity) {
    if (!unit.isBuilt()) return 0;
    if (unit.type->indexOf(UnitScript::killed) < 0 || !world.state.scripts.of(unit)) return 1;
    std::array<std::int32_t, 2> parameters{severity, 0};
    world.state.scripts.lifecycle().killed(static_cast<std::int32_t>(unit.id), parameters);
    actOnScript(world, unit);
    return parameters[1];
}

}  // namespace

void killUnit(WorldParts& world, TickScratch& scratch, Unit& unit, std::int32_t severity,
              DeathKind kind) {
    if (unit.isDying) return;
    unit.isDying = true;
    const UnitType& type = *unit.type;
    const std::int32_t number = askForCorpse(world, unit, severity);
    const std::int32_t corpse = corpseOf(world, type, number);
    world.tell(
        unit, Killed{severity, number,
                     corpse < 0 ? std::string()
                                : world.frame.featureTypes[static_cast<std::size_t>(corpse)].name});
    scratch.deaths.push_back({unit.ref(), corpse});
    const auto& explosion = kind == DeathKind::selfDestruct && type.selfDestructAs
                                ? type.selfDestructAs
                                : type.explodeAs;
    if (explosion && unit.isBuilt())
        scratch.impacts.push_back(
            {explosion, hitCenter(world, unit), {}, 0, unit.heading, unit.ref()});
    // Who is aboard carries nobody himself.
    const std::vector<UnitRef> cargo = unit.hold.cargo;
    for (const UnitRef passenger : cargo)
        if (Unit* const aboard = world.state.units.find(passenger))
            killUnit(world, scratch, *aboard, severity, DeathKind::killed);
}

void stepDamage(WorldParts& world, TickScratch& scratch) {
    for (const Damage& damage : scratch.damage)
        if (Unit* const unit = world.state.units.find(damage.victim)) {
            Damage effect = damage;
            effect.amount = effectOn(*unit, damage.amount);
            hurt(world, scratch, *unit, effect, false);
        }
    // Deaths put their explosions at the end; every unit dies once.
    for (std::size_t i = 0; i < scratch.impacts.size(); ++i)
        Blast(world, scratch, scratch.impacts[i]).run();
    for (const Death& death : scratch.deaths) bury(world, death);
    scratch.damage.clear();
    scratch.impacts.clear();
    scratch.deaths.clear();
    scratch.areaTests = 0;
}

}  // namespace orb::sim
