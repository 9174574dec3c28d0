#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "io/formats/gaf.h"
#include "io/game_paths.h"
#include "io/vfs/composite_virtual_file_system.h"

namespace orb::unitview {

/// An entry of an animation file, by the file's virtual path and its place in it.
struct GafEntryRef {
    std::string path;
    std::size_t index = 0;
};

/// The entries of the animation files of one kind in the stack, found by name in any case. The
/// first file that has a name wins. Built at the first look-up; not for several threads.
class GafIndex {
public:
    /// Borrows the file system.
    GafIndex(const io::CompositeVirtualFileSystem& files, const io::GameFiles& kind)
        : files_(&files), kind_(kind) {}

    /// Null when no file has such an entry. Damaged files are logged and left out.
    const GafEntryRef* find(std::string_view name) const;

private:
    void build() const;

    const io::CompositeVirtualFileSystem* files_;
    io::GameFiles kind_;
    mutable bool isBuilt_ = false;
    /// By upper-cased name.
    mutable std::unordered_map<std::string, GafEntryRef> entries_;
};

/// Makes sure that an entry read through a reference is still the one that was found, since files
/// change behind the index: throws std::runtime_error "GAF entry not found: …" when the names
/// differ by more than case.
void requireGafName(std::string_view found, std::string_view expected);

}  // namespace orb::unitview
