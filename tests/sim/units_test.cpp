#include "sim/units/units.h"

#include <gtest/gtest.h>

#include "sim/ground.h"
#include "sim/units/unit_buckets.h"

namespace orb::sim {
namespace {

TEST(Units, AnIdRestsAfterItsOwnersDeathWhileThereAreOthers) {
    Units units;
    for (int i = 0; i < 3; ++i) units.add(0);
    const UnitRef second = units.withId(2)->ref();
    units.remove(*units.withId(2), 100);
    EXPECT_EQ(units.find(second), nullptr);
    EXPECT_EQ(units.withId(2), nullptr);
    EXPECT_EQ(units.count(), 2U);
    EXPECT_EQ(units.highestId(), 3U);

    EXPECT_EQ(units.add(100 + kIdRest - 1).id, 4U);
    const Unit& heir = units.add(100 + kIdRest);
    EXPECT_EQ(heir.id, 2U);
    // who remembers the dead one does not take the new one for it
    EXPECT_EQ(units.find(second), nullptr);
    EXPECT_EQ(units.find(heir.ref()), &heir);

    for (const std::int64_t id :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{5}, std::int64_t{1} << 40})
        EXPECT_EQ(units.withId(id), nullptr);
    EXPECT_EQ(units.find({}), nullptr);
    EXPECT_EQ(units.find({77, 1}), nullptr);
}

TEST(Units, WhenAllIdsRestTheLongestRestedComesFirst) {
    Units units;
    for (std::size_t i = 0; i < kMaxUnits; ++i) units.add(0);
    EXPECT_TRUE(units.isFull());
    units.remove(*units.withId(700), 20);
    units.remove(*units.withId(600), 10);
    units.remove(*units.withId(500), 10);
    EXPECT_EQ(units.add(30).id, 500U);
    EXPECT_EQ(units.add(30).id, 600U);
    EXPECT_EQ(units.add(30).id, 700U);
}

TEST(UnitBuckets, FindWhoIsWithinACircleByRisingId) {
    Units units;
    UnitBuckets buckets(64, 64);
    for (int i = 0; i < 200; ++i) {
        Unit& unit = units.add(0);
        unit.place = at(i * 37 % 1'024, i * 53 % 1'024);
        buckets.add(unit.slot(), unit.place);
    }
    Unit& mover = *units.withId(9);
    buckets.move(mover.slot(), mover.place, at(500, 500));
    mover.place = at(500, 500);
    for (const auto& [x, z, radius] :
         {std::tuple{500, 500, 130}, {0, 0, 300}, {1'023, 900, 1}, {-50, 2'000, 1'200}}) {
        std::vector<std::uint32_t> expected, found;
        for (const Unit& unit : units)
            if (squaredDistance(unit.place.x, unit.place.z, Fixed::fromInt(x), Fixed::fromInt(z)) <=
                squaredLength(Fixed::fromInt(radius)))
                expected.push_back(unit.slot());
        buckets.findWithin(units, at(x, z), Fixed::fromInt(radius), found);
        EXPECT_EQ(found, expected) << x << ' ' << z << ' ' << radius;
    }
}

}  // namespace
}  // namespace orb::sim
