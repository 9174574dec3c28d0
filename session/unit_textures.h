#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "session/unit_view_session.h"

namespace orb::unitview {

/// A texture that a unit's model names.
struct UnitTexture {
    /// As the model spells it first.
    std::string name;
    /// Null when it is missing or damaged.
    std::shared_ptr<const Texture> texture;
    /// Of the texture's file; none when that has gone since.
    std::optional<UnitSource> source;
};

/// The textures of the loaded unit, as it is edited, in the order of first use. Throws RequestError
/// "no unit loaded; call load-unit first".
std::vector<UnitTexture> findUnitTextures(const UnitViewSession& session);

}  // namespace orb::unitview
