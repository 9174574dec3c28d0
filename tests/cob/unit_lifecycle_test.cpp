#include "cob/unit_lifecycle.h"

#include <gtest/gtest.h>

#include "cob/cob_testing.h"

namespace orb::unitview {
namespace {

using testing::cobOf;
using testing::n;
using testing::w;

const std::vector<std::string> kModel{"root", "arm", "base"};

/// A lifecycle whose every unit runs `scripts`.
UnitLifecycle lifecycleOf(const std::vector<testing::ScriptCode>& scripts) {
    return UnitLifecycle([file = cobOf(scripts)](std::string_view) { return file; });
}

TEST(UnitLifecycle, SetupNeedsLookupScriptAndModel) {
    const LifecycleUnit unit{"ARMCOM", 1};
    struct Case {
        UnitLifecycle lifecycle;
        const std::vector<std::string>* model;
        std::string line;
    };
    const std::vector<std::string> noPieces;
    Case cases[] = {
        {UnitLifecycle(), &kModel, "lookup unset — no COB instance will be created"},
        {UnitLifecycle([](std::string_view) { return nullptr; }), &kModel,
         "COB not found in cobLookup"},
        {lifecycleOf({}), nullptr, "model missing or 0 pieces (model=null pieces=0)"},
        {lifecycleOf({}), &noPieces, "model missing or 0 pieces (model=ok pieces=0)"},
    };
    for (Case& c : cases) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(c.lifecycle.setupUnit(unit, c.model), nullptr);
        EXPECT_NE(
            ::testing::internal::GetCapturedStderr().find("setupUnit(ARMCOM, id=1): " + c.line),
            std::string::npos)
            << c.line;
    }
}

TEST(UnitLifecycle, StartsTheScriptsOfAUnitsLife) {
    UnitLifecycle lifecycle = lifecycleOf(
        {{"Create", {w(Op::ret)}}, {"Activate", {w(Op::ret)}}, {"AimWeapon2", {w(Op::ret)}}});
    LifecycleUnit unit{"ARMCOM", 1, 0.5F, true};
    EXPECT_EQ(lifecycle.setupUnit(unit, &kModel)->threads.size(), 1U);
    unit.buildFraction = 1;
    CobInstance* const instance = lifecycle.setupUnit(unit, &kModel);
    EXPECT_EQ(instance->threads.size(), 2U);
    EXPECT_FALSE(lifecycle.isAiming(1, 1));
    CobVm(*instance).startScript("AimWeapon2");
    EXPECT_TRUE(lifecycle.isAiming(1, 1));
    EXPECT_FALSE(lifecycle.isAiming(1, 3));
    lifecycle.deactivate(unit);  // there is no such script
    EXPECT_FALSE(unit.active);
    lifecycle.removeUnit(1);
    lifecycle.activate(unit);
    EXPECT_TRUE(unit.active);
}

TEST(UnitLifecycle, QueriesAnswerThroughParameterOrResult) {
    // The COB's pieces base, arm and a nameless one are the model's 2 and 1 and none.
    const auto byParameter = [](std::int32_t piece) {
        return testing::Code{w(Op::pushConst), n(piece), w(Op::popLocal), 0,
                             w(Op::pushConst), 1,        w(Op::ret)};
    };
    UnitLifecycle lifecycle = lifecycleOf({{"SweetSpot", {w(Op::pushConst), 0, w(Op::ret)}},
                                           {"QueryPrimary", byParameter(0)},
                                           {"QueryWeapon2", byParameter(2)},
                                           {"Killed", {w(Op::pushLocal), 0, w(Op::ret)}}});
    lifecycle.setupUnit({"ARMCOM", 1}, &kModel);
    EXPECT_EQ(lifecycle.sweetSpot(1), 2);
    EXPECT_EQ(lifecycle.queryWeaponPiece(1, 0), 2);
    EXPECT_EQ(lifecycle.queryWeaponPiece(1, 1), -1);
    EXPECT_EQ(lifecycle.queryWeaponPiece(1, 3), -1);
    EXPECT_EQ(lifecycle.queryWeaponPiece(2, 0), -1);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(lifecycle.queryWeaponPiece(1, 2), -1);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find(
                  "queryWeaponPiece: unit=1 slot=2 — no QueryTertiary or QueryWeapon3 script in "
                  "COB; muzzle will use facing offset"),
              std::string::npos);
    std::vector<std::int32_t> severity{42, 0};
    EXPECT_EQ(lifecycle.killed(1, severity), 42);
    EXPECT_EQ(lifecycle.killed(2, severity), -1);
}

}  // namespace
}  // namespace orb::unitview
