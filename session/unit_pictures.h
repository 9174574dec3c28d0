#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/build_pictures.h"
#include "session/unit_view_session.h"

/// The pictures of units' build buttons.
namespace orb::unitview {

/// What the data roots hold for a unit.
struct UnitPictures {
    std::string unitName;
    /// The name that the pictures go by: what the definition says, or the unit's own where that
    /// leads to nothing.
    std::string pictureName;
    /// The definition says something that leads to nothing.
    bool isFallback = false;
    std::vector<BuildPictureSource> sources;
};

/// The pictures of a unit whose definition says `buildPic`, which may be empty.
UnitPictures findUnitPictures(const MountedData& data, const std::string& unitName,
                              const std::string& buildPic);

// Below, `name` is that of any unit, catalogued or not; empty, it means the loaded unit. All throw
// RequestError "no unit loaded; call load-unit first" or "data roots not set".

UnitPictures findUnitPictures(const UnitViewSession& session, const std::string& name);

struct UnitPicture {
    std::string unitName;
    BuildPictureSource source;
    PngPicture picture;
};

/// The first picture of a format by its name, of any format when that is empty. Throws RequestError
/// "build picture not found: …" or a reader's text.
UnitPicture readUnitPicture(const UnitViewSession& session, const std::string& name,
                            std::string_view format);

struct UnitButton {
    std::string unitName;
    ButtonPictures pictures;
};

/// The button as PNG files. Throws RequestError "build picture not found: … (png)" or a damaged
/// archive's text.
UnitButton readUnitButton(const UnitViewSession& session, const std::string& name);

}  // namespace orb::unitview
