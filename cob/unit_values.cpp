#include "cob/unit_values.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

namespace orb::unitview {
namespace {

// clang-format off
constexpr UnitValueName kUnitValues[] = {
    {1, "ACTIVATION"},        {2, "STANDINGMOVEORDERS"}, {3, "STANDINGFIREORDERS"},
    {4, "HEALTH"},            {5, "INBUILDSTANCE"},      {6, "BUSY"},
    {7, "PIECE_XZ"},          {8, "PIECE_Y"},            {9, "UNIT_XZ"},
    {10, "UNIT_Y"},           {11, "UNIT_HEIGHT"},       {kXzAtan, "XZ_ATAN"},
    {kXzHypot, "XZ_HYPOT"},   {kAtan, "ATAN"},           {kHypot, "HYPOT"},
    {16, "GROUND_HEIGHT"},    {17, "BUILD_PERCENT_LEFT"}, {18, "YARD_OPEN"},
    {19, "BUGGER_OFF"},       {20, "ARMORED"},           {21, "HEADING"},
    {22, "TARGET_ID"},        {23, "LAST_ATTACKER_ID"},  {29, "MOVEMENT_STATE"},
    {32, "VETERAN_LEVEL"},    {35, "STEALTH"},           {44, "REVERSING"},
    {68, "UNIT_IS_ON_THIS_COMP"}, {69, "MIN_ID"},        {70, "MAX_ID"},
    {71, "MY_ID"},            {77, "WIND_DIR"},          {78, "WIND_SPEED"},
};
// clang-format on

}  // namespace

std::span<const UnitValueName> unitValueNames() {
    return kUnitValues;
}

std::string unitValueName(std::int32_t id) {
    const auto* const found =
        std::ranges::lower_bound(kUnitValues, id, std::ranges::less{}, &UnitValueName::id);
    if (found != std::end(kUnitValues) && found->id == id) return std::string(found->name);
    return fmt::format("VALUE_{}", id);
}

}  // namespace orb::unitview
