#include "authoring/source_file.h"

#include "io/path_text.h"
#include "io/vfs/directory_file_system.h"
#include "io/vfs/hpi_file_system.h"

namespace orb::unitview {

std::optional<io::Bytes> readSourceFile(const io::FileLocation& location) {
    if (location.kind == io::FileLocation::Kind::archive)
        return io::HpiFileSystem(location.path).readFile(location.internalPath);
    return io::DirectoryFileSystem(location.path.parent_path())
        .readFile(io::textFromPath(location.path.filename()));
}

}  // namespace orb::unitview
