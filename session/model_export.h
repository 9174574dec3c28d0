#pragma once

#include <string>

#include "model/glb.h"
#include "session/unit_view_session.h"

/// Models of the mounted data on their way to a viewer.
namespace orb::unitview {

/// The loaded unit's model with its edits. Throws RequestError "no unit loaded; call load-unit
/// first" or "glb encode failed: …".
ExportedModel exportUnitModel(const UnitViewSession& session, const TeamColor& team);

struct WeaponModel {
    /// As declared.
    std::string weapon;
    /// What the weapon's "model" names.
    std::string name;
    ExportedModel exported;
};

/// The model that flies when a weapon is fired. Throws RequestError: requireWeapon's, "weapon has
/// no model: …", "3DO not found: …" or "glb encode failed: …".
WeaponModel exportWeaponModel(const UnitViewSession& session, const std::string& weapon,
                              const TeamColor& team);

}  // namespace orb::unitview
