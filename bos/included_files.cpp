#include "bos/included_files.h"

#include <algorithm>

#include "bos/preprocessor.h"

namespace orb::unitview::bos {

std::vector<std::string> includedFiles(std::string_view source, const std::string& path,
                                       const io::AbstractVirtualFileSystem& files) {
    DiagnosticList diagnostics;
    try {
        Preprocessor(&files, diagnostics).run(source, path);
    } catch (const TooManyErrors&) {
        // What was read so far is in the list.
    }
    std::vector<std::string> paths = diagnostics.files();
    paths.erase(paths.begin());  // the source
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

}  // namespace orb::unitview::bos
