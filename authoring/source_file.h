#pragma once

#include "io/byte_cursor.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview {

/// A file as it stands on disk now, an archive's entry from the archive opened afresh; none when it
/// has gone. Throws the text of a damaged archive.
std::optional<io::Bytes> readSourceFile(const io::FileLocation& location);

}  // namespace orb::unitview
