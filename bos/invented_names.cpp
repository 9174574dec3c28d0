#include "bos/invented_names.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "bos/words.h"

namespace orb::unitview::bos {
namespace {

struct KnownParameters {
    std::string_view script;  ///< a whole name, or its beginning when it ends in "*"
    std::array<std::string_view, 3> names;
};

// The first row that fits counts.
constexpr KnownParameters kKnown[] = {
    {"Query*", {"piecenum"}},
    {"AimFrom*", {"piecenum"}},
    {"SweetSpot*", {"piecenum"}},
    {"Aim*", {"heading", "pitch"}},
    {"Killed", {"severity", "corpsetype"}},
    {"SmokeUnit", {"healthpercent", "sleeptime", "smoketype"}},
    {"RequestState", {"requestedstate", "currentstate"}},
    {"HitByWeapon", {"anglex", "anglez"}},
    {"RockUnit", {"anglex", "anglez"}},
    {"MotionControl", {"moving", "aiming", "justmoved"}},
    {"SetDirection", {"heading"}},
    {"StartBuilding", {"heading"}},
    {"TransportPickup", {"unitid"}},
    {"TransportDrop", {"unitid", "position"}},
};

bool fits(std::string_view pattern, std::string_view script) {
    if (!pattern.ends_with('*')) return io::equalsIgnoringCase(pattern, script);
    pattern.remove_suffix(1);
    return io::equalsIgnoringCase(script.substr(0, pattern.size()), pattern);
}

const KnownParameters* knownParameters(std::string_view script) {
    const auto* const found = std::ranges::find_if(
        kKnown, [&](const KnownParameters& row) { return fits(row.script, script); });
    return found == std::end(kKnown) ? nullptr : found;
}

}  // namespace

InventedNames::InventedNames(const io::CobFile& cob) {
    for (const std::string& piece : cob.pieces) taken_.insert(piece);
    for (const auto& script : cob.scripts) taken_.insert(script.name);
}

std::string InventedNames::staticVar(std::size_t index) const {
    return unlike(fmt::format("static_{}", index));
}

std::string InventedNames::local(std::string_view script, std::size_t index) const {
    const KnownParameters* const known = knownParameters(script);
    if (known && index < known->names.size() && !known->names.at(index).empty())
        return unlike(std::string(known->names.at(index)));
    return unlike(fmt::format("local_{}", index));
}

std::string InventedNames::unlike(std::string name) const {
    if (!taken_.contains(name)) return name;
    const auto [known, isNew] = replacements_.try_emplace(name, name + '_');
    std::string& other = known->second;
    if (isNew)
        for (int i = 2; taken_.contains(other); ++i) other = fmt::format("{}_{}", name, i);
    return other;
}

bool answersPiece(std::string_view script) {
    const KnownParameters* const known = knownParameters(script);
    return known && known->names[0] == "piecenum";
}

bool isPlainName(std::string_view text) {
    return !text.empty() && isNameStart(text[0]) && std::ranges::all_of(text, isNamePart) &&
           wordOf(text) == Word::none;
}

}  // namespace orb::unitview::bos
