#pragma once

#include <functional>
#include <optional>
#include <string>

#include "io/vfs/composite_virtual_file_system.h"
#include "session/request_error.h"

namespace orb::unitview {

/// Where a unit's file lives.
struct UnitSource {
    io::FileLocation location;
    /// In the game's own data path, not in a mod root.
    bool inBaseTa = false;
};

/// Whether both are one loose file, or one entry of one archive.
inline bool isSamePlace(const io::FileLocation& a, const io::FileLocation& b) {
    return a.path == b.path && a.internalPath == b.internalPath;
}

/// "could not locate source for UNIT".
RequestError sourceNotFound(const std::string& unitName);

/// The source of the file that `path` names in the stack, or none.
std::optional<UnitSource> findSource(const io::CompositeVirtualFileSystem& files,
                                     const std::string& path);

/// A file of one layer by its virtual path, such as "units/NAME.FBI" with the name as stored. The
/// layer must stay mounted.
struct LayerFile {
    const io::VfsLayer* layer = nullptr;
    std::string path;

    /// Where the file lies now; for one that has vanished since, where it would lie.
    io::FileLocation location() const;
    bool operator==(const LayerFile&) const = default;
    bool isInBaseTa() const { return layer->rootKind == io::DataRootKind::base; }
};

/// Chooses layers whose files are read again because they may have changed.
using LayerFilter = std::function<bool(const io::VfsLayer&)>;

/// The file's name without its folder and extension. Of a unit's source it leads to the definition
/// whatever that says.
std::string fileStem(const io::FileLocation& location);

/// The path, or for an archive entry "<archive path> :: <internal path>".
std::string locationText(const io::FileLocation& location);

}  // namespace orb::unitview
