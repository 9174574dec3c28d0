#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/palette.h"
#include "io/game_paths.h"
#include "io/vfs/composite_virtual_file_system.h"
#include "model/gaf_index.h"
#include "model/png_picture.h"

namespace orb::unitview {

enum class BuildPictureFormat : std::uint8_t { pcx, gaf, pngTriplet, png };

/// What the names of a unit's picture files end in: each format, then a PNG's companions.
inline constexpr std::array<std::string_view, 5> kBuildPictureEndings = {
    io::kBuildPictureFiles.extension, ".gaf", ".png", "_pressed.png", "_disabled.png"};

/// A picture's name without the extension of a format.
std::string_view buildPictureStem(std::string_view name);

/// "pcx", "gaf", "png-triplet" or "png", for requests and reports.
std::string_view formatName(BuildPictureFormat format);

/// "build picture not found: …" of a unit or a file.
std::string buildPictureNotFound(std::string_view what);

/// One of the pictures that the data roots hold for a unit's build button.
struct BuildPictureSource {
    BuildPictureFormat format = BuildPictureFormat::pcx;
    /// The virtual path of the file; of a triplet, of its first picture.
    std::string path;
    /// The place of the picture in an animation file.
    std::size_t gafIndex = 0;
};

/// The pictures of a name in this order of formats: unitpics/NAME.pcx; unitpics/NAME.gaf, or an
/// entry NAME of `animations`; unitpics/NAME.png with NAME_pressed.png and NAME_disabled.png;
/// unitpics/NAME.png. A name may be given with one of these extensions.
std::vector<BuildPictureSource> findBuildPictures(const io::CompositeVirtualFileSystem& files,
                                                  const GafIndex& animations,
                                                  std::string_view name);

/// Whether the picture (of a triplet, the first) is there, its format's reader takes it, and it has
/// pixels.
bool isReadable(const io::CompositeVirtualFileSystem& files, const BuildPictureSource& source);

/// Reads a picture; of a triplet, the first. Throws std::runtime_error: the file's path and the
/// text of the format's reader, or buildPictureNotFound when the file has vanished.
PngPicture readBuildPicture(const io::CompositeVirtualFileSystem& files,
                            const BuildPictureSource& source, const io::Palette& palette);

/// A build button as three PNG files.
struct ButtonPictures {
    io::Bytes normal;
    std::optional<io::Bytes> pressed;
    std::optional<io::Bytes> disabled;
};

/// unitpics/NAME.png with what there is of its companions; none without the first.
std::optional<ButtonPictures> readButtonPictures(const io::CompositeVirtualFileSystem& files,
                                                 std::string_view name);

}  // namespace orb::unitview
