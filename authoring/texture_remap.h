#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "authoring/unit_definition.h"
#include "model/png_picture.h"
#include "model/texture_recolor.h"
#include "session/unit_view_session.h"

/// Giving textures other colours of the palette, in all their frames and where they stand. Names
/// are found in any case among what is mounted. All of these throw RequestError "data roots not
/// set", "unknown texture: …", "texture has no pixels: …", or "texture file PATH: " and what is
/// wrong with it.
namespace orb::unitview {

struct TextureFacts {
    /// As its file spells it.
    std::string name;
    UnitSource source;
    /// Of the first frame.
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    io::GafColorUse use;
};

/// A change with what it means for a texture.
struct RemapRow {
    IndexChange change;
    /// How many pixels have the old index.
    std::uint64_t pixels = 0;
    /// Between the colours, as they look.
    double distance = 0;
};

struct RemapSuggestion {
    TextureFacts texture;
    std::vector<RemapRow> map;
};

RemapSuggestion suggestTextureRemap(const UnitViewSession& session, const std::string& name,
                                    RecolorDirection direction);

struct RemapPreview {
    TextureFacts texture;
    std::vector<RemapRow> map;
    /// Of the first frame.
    PngPicture before;
    PngPicture after;
    std::uint64_t changedPixels = 0;
    std::uint64_t teamPixelsAfter = 0;
};

/// What becomes of a texture by these changes, or by those that are suggested to leave the team
/// bands. No index is changed twice.
RemapPreview previewTextureRemap(const UnitViewSession& session, const std::string& name,
                                 const std::optional<std::vector<IndexChange>>& changes);

struct RemapResult {
    /// Names the file that is or would be written.
    EditResult edit;
    /// Both also when nothing is written.
    std::uint64_t changedPixels = 0;
    /// Other textures of the file that show changed pixels.
    std::vector<std::string> alsoChanges;
};

/// Does it. A texture of the base game is changed in a copy of its file in a mod folder, which must
/// be mounted (RequestError "not a mounted mod folder: …"), or not at all. Nothing is written, and
/// no consent needed, when no pixel changes. Throws what writing throws.
RemapResult applyTextureRemap(UnitViewSession& session, const std::string& name,
                              const std::optional<std::vector<IndexChange>>& changes,
                              const std::optional<std::filesystem::path>& modPath,
                              bool allowBackupCreation);

}  // namespace orb::unitview
