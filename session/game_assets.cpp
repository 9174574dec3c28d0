#include "session/game_assets.h"

#include "io/game_paths.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

io::Bytes readFile(const UnitViewSession& session, const std::string& path,
                   const std::string& missingText) {
    auto bytes = reportingFailure([&] { return session.data().files.readFile(path); });
    if (!bytes) throw RequestError(missingText);
    return std::move(*bytes);
}

}  // namespace

const TableEntry& requireWeapon(const UnitViewSession& session, const std::string& name) {
    if (name.empty()) throw RequestError("weapon name is required");
    const TableEntry* const weapon = session.data().tables.weapons.find(name);
    if (!weapon) throw RequestError("unknown weapon: " + name);
    return *weapon;
}

ProjectileSprite readProjectileSprite(const UnitViewSession& session,
                                      const std::string& weaponName) {
    const TableEntry& weapon = requireWeapon(session, weaponName);
    const std::string name(weapon.section.getString("bitmap").value_or(""));
    if (name.empty()) throw RequestError("weapon has no sprite: " + weapon.name);
    const std::string missingText = "sprite not found: " + name;
    const GafEntryRef* const entry = session.data().pictures.animations.find(name);
    if (!entry) throw RequestError(missingText);
    const io::Bytes file = readFile(session, entry->path, missingText);
    return reportingFailure(
        [&]() -> ProjectileSprite {
            const io::GafEntry animation = io::readGafEntry(file, entry->index);
            requireGafName(animation.name, name);
            return {weapon.name, name, spriteStrip(animation, session.palette())};
        },
        entry->path + ": ");
}

Sound readSound(const UnitViewSession& session, std::string_view fileName) {
    std::string name(io::kSoundFiles.stem(fileName));
    if (name.empty()) throw RequestError("sound name is required");
    std::string path = io::kSoundFiles.path(name);
    io::Bytes wave = readFile(session, path, "sound not found: " + name);
    return {std::move(name), std::move(path), std::move(wave)};
}

}  // namespace orb::unitview
