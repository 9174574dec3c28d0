#pragma once

#include <cstddef>
#include <optional>

#include "io/vfs/composite_virtual_file_system.h"

namespace orb::io {

/// The first `maxBytes` of what `files.readFile(path)` would read, without reading the rest. Throws
/// what reading them throws: damage further on stays unknown.
std::optional<Bytes> readBeginning(const CompositeVirtualFileSystem& files, const VirtualPath& path,
                                   std::size_t maxBytes);

}  // namespace orb::io
