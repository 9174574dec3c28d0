#include "io/formats/fbi.h"

namespace orb::io {
namespace {

constexpr int kBuildOptionKeys = 30;  // buildoption1 .. buildoption30 of [UNITINFO]
constexpr int kCanBuildKeys = 64;     // unit1 .. unit64 of [CANBUILD]

void readKey(const TdfSection& section, std::string_view key, std::string& field,
             std::string_view defaultValue) {
    field = section.getString(key).value_or(defaultValue);
}

void readKey(const TdfSection& section, std::string_view key, std::int32_t& field,
             std::int32_t defaultValue) {
    field = section.getInt(key).value_or(defaultValue);
}

void readKey(const TdfSection& section, std::string_view key, float& field, float defaultValue) {
    field = section.getFloat(key).value_or(defaultValue);
}

void readKey(const TdfSection& section, std::string_view key, bool& field, bool defaultValue) {
    field = section.getInt(key).value_or(defaultValue ? 1 : 0) != 0;
}

/// Appends the non-empty values of prefix1 .. prefix<count>; gaps are allowed.
void appendNumbered(const TdfSection& section, std::string_view prefix, int count,
                    std::vector<std::string>& names) {
    for (int i = 1; i <= count; ++i) {
        const auto name = section.getString(std::string(prefix) + std::to_string(i));
        if (name && !name->empty()) names.emplace_back(*name);
    }
}

}  // namespace

void FbiUnitInfo::readKeys(const TdfSection& unitInfo) {
#define FBI_KEY(type, field, key, defaultValue) readKey(unitInfo, key, field, defaultValue);
#include "io/formats/fbi_keys.def"
    if (damageModifier <= 0) damageModifier = 1;
}

std::optional<FbiUnitInfo> parseFbiUnitInfo(const TdfSection& root) {
    const TdfSection* unitInfo = root.child("UNITINFO");
    if (unitInfo == nullptr) return std::nullopt;
    FbiUnitInfo info;
    info.readKeys(*unitInfo);
    appendNumbered(*unitInfo, "buildoption", kBuildOptionKeys, info.buildOptions);
    if (const TdfSection* canBuild = unitInfo->child("CANBUILD"))
        appendNumbered(*canBuild, "unit", kCanBuildKeys, info.buildOptions);
    return info;
}

}  // namespace orb::io
