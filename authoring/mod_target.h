#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

#include "session/mounted_data.h"

/// Which mod folder, and which file in it, new content of units goes into. A root stands for a data
/// root by the layer of its loose files.
namespace orb::unitview {

/// The mod root that a request names, else the first one. Throws RequestError "not a mounted mod
/// folder: …" or "no mod folder is mounted".
const io::VfsLayer& chooseModRoot(const MountedData& data,
                                  const std::optional<std::filesystem::path>& folder);

/// The data root that the game reads a virtual path from, or null.
const io::VfsLayer* rootOf(const MountedData& data, std::string_view path);

/// The data root of the definition file that the stack shows there. Throws RequestError "could not
/// locate source for …" when it has gone.
const io::VfsLayer& rootOfDefinition(const MountedData& data, const io::FileLocation& definition);

/// A root's archives, in the order in which they are asked, and then its loose files.
std::span<const io::VfsLayer> layersOf(const MountedData& data, const io::VfsLayer& root);

/// What a root itself has of a virtual path, be it a loose file or an entry of one of its archives.
std::optional<io::FileLocation> findInRoot(const MountedData& data, const io::VfsLayer& root,
                                           std::string_view path);

/// Where writing a virtual path below a root takes effect: in the file that it has, else in a loose
/// one. Throws RequestError "bad file name: …" for what leads out of the root, as a definition may.
io::FileLocation placeInRoot(const MountedData& data, const io::VfsLayer& root,
                             std::string_view path);

/// An entry of a picture file, which is named after its unit, has room for 32 characters.
inline constexpr std::size_t kMaxUnitName = 31;

/// Throws RequestError "bad unit name: …" unless the name has 1 to 31 letters, digits, "_" or "-"
/// and can be given to files everywhere.
void requireNewUnitName(std::string_view name);

}  // namespace orb::unitview
