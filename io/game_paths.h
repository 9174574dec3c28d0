#pragma once

#include <string>
#include <string_view>

#include "io/ascii.h"

/// Where the game's files lie in the virtual file system, and what their names end in.
namespace orb::io {

/// The files of one kind, which lie directly in one folder.
struct GameFiles {
    std::string_view folder;
    /// With its dot. Files have it in any case.
    std::string_view extension;

    /// "folder/NAME.ext".
    std::string path(std::string_view name) const {
        return std::string(folder).append("/").append(name).append(extension);
    }

    /// A name without the extension, which it may lack.
    std::string_view stem(std::string_view name) const {
        if (endsWithIgnoringCase(name, extension)) name.remove_suffix(extension.size());
        return name;
    }
};

inline constexpr GameFiles kUnitFiles{"units", ".fbi"};
inline constexpr GameFiles kModelFiles{"objects3d", ".3do"};
inline constexpr GameFiles kScriptFiles{"scripts", ".cob"};
inline constexpr GameFiles kScriptSourceFiles{"scripts", ".bos"};
/// Build pictures as the game reads them; some mods add other formats beside them.
inline constexpr GameFiles kBuildPictureFiles{"unitpics", ".pcx"};
inline constexpr GameFiles kTextureFiles{"textures", ".gaf"};
inline constexpr GameFiles kAnimationFiles{"anims", ".gaf"};
inline constexpr GameFiles kSoundFiles{"sounds", ".wav"};
inline constexpr GameFiles kWeaponFiles{"weapons", ".tdf"};
inline constexpr GameFiles kFeatureFiles{"features", ".tdf"};
inline constexpr GameFiles kMapFiles{"maps", ".tnt"};
/// Each beside the map of its name.
inline constexpr GameFiles kMapDescriptionFiles{"maps", ".ota"};
inline constexpr GameFiles kGameTableFiles{"gamedata", ".tdf"};
inline constexpr GameFiles kDownloadFiles{"download", ".tdf"};
/// Units in one document each, which the game itself does not know.
inline constexpr GameFiles kUnitIrFiles{"unit-ir", ".json"};

inline constexpr std::string_view kPalettePath = "palettes/PALETTE.PAL";

}  // namespace orb::io
