#pragma once

#include <string>

#include "model/png_picture.h"
#include "session/unit_view_session.h"

/// What the mounted files hold for the eye and the ear besides units.
namespace orb::unitview {

/// A weapon by its name in any case. Throws RequestError "weapon name is required" or "unknown
/// weapon: …".
const TableEntry& requireWeapon(const UnitViewSession& session, const std::string& name);

struct ProjectileSprite {
    /// As declared.
    std::string weapon;
    /// The animation that the weapon's "bitmap" names.
    std::string name;
    SpriteStrip strip;
};

/// The animation that shows a weapon's projectile. Throws RequestError: requireWeapon's, "weapon
/// has no sprite: …", "sprite not found: …" or a reader's text.
ProjectileSprite readProjectileSprite(const UnitViewSession& session, const std::string& weapon);

struct Sound {
    /// Without its extension.
    std::string name;
    std::string path;
    /// The file as it stands.
    io::Bytes wave;
};

/// A sound by its name, with or without the extension. Throws RequestError "sound name is
/// required", "sound not found: …" or a reader's text.
Sound readSound(const UnitViewSession& session, std::string_view name);

}  // namespace orb::unitview
