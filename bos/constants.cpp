#include "bos/constants.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "cob/unit_values.h"
#include "io/ascii.h"

namespace orb::unitview::bos {
namespace {

constexpr NamedConstant kExplosionFlags[] = {
    {"SHATTER", 1},    {"EXPLODE_ON_HIT", 2}, {"FALL", 4},        {"SMOKE", 8},
    {"FIRE", 16},      {"BITMAPONLY", 32},    {"NOCEGTRAIL", 64}, {"NOHEATCLOUD", 128},
    {"BITMAP1", 256},  {"BITMAP2", 512},      {"BITMAP3", 1024},  {"BITMAP4", 2048},
    {"BITMAP5", 4096}, {"BITMAPNUKE", 8192},
};

/// Unit values above 20 as the headers number them.
constexpr NamedConstant kHeaderUnitValues[] = {
    {"IN_WATER", 28}, {"CURRENT_SPEED", 29}, {"VETERAN_LEVEL", 32}, {"MAX_ID", 70},
    {"MY_ID", 71},    {"UNIT_TEAM", 72},     {"MAX_SPEED", 75},     {"UPRIGHT", 79},
    {"HEADING", 82},  {"TARGET_ID", 83},     {"STEALTH", 96},       {"ABS", 133},
};

/// Ids up to here are the same in every header.
constexpr std::int32_t kLastAgreedId = 20;

}  // namespace

std::optional<std::int32_t> constantNamed(std::string_view name) {
    static const auto constants = [] {
        std::unordered_map<std::string_view, std::int32_t> all;
        for (const auto& [flag, value] : kExplosionFlags) all.emplace(flag, value);
        for (const auto& [id, unitValue] : unitValueNames()) all.emplace(unitValue, id);
        for (const auto& [unitValue, id] : kHeaderUnitValues) all.emplace(unitValue, id);
        return all;
    }();
    const auto found = constants.find(name);
    return found == constants.end() ? std::nullopt : std::optional(found->second);
}

std::span<const NamedConstant> headerConstants() {
    static const auto constants = [] {
        std::vector<NamedConstant> all(std::begin(kExplosionFlags), std::end(kExplosionFlags));
        for (const auto& [id, name] : unitValueNames())
            if (id <= kLastAgreedId) all.push_back({name, id});
        all.insert(all.end(), std::begin(kHeaderUnitValues), std::end(kHeaderUnitValues));
        return all;
    }();
    return constants;
}

bool isStandardHeader(std::string_view name) {
    return io::equalsIgnoringCase(name, "sfxtype.h") || io::equalsIgnoringCase(name, "exptype.h");
}

std::string_view explosionFlagName(std::int32_t value) {
    const auto* const found = std::ranges::find(kExplosionFlags, value, &NamedConstant::value);
    return found == std::end(kExplosionFlags) ? std::string_view{} : found->name;
}

std::string_view agreedUnitValueName(std::int32_t id) {
    const auto names = unitValueNames();
    const auto found = std::ranges::find(names, id, &UnitValueName::id);
    if (found == names.end()) return {};
    const bool isAgreed =
        id <= kLastAgreedId || std::ranges::any_of(kHeaderUnitValues, [&](const auto& header) {
            return header.name == found->name && header.value == id;
        });
    return isAgreed ? found->name : std::string_view{};
}

}  // namespace orb::unitview::bos
