#include "samples/builder/script_text.h"

#include <stdexcept>

#include <fmt/format.h>

#include "bos/compiler.h"
#include "io/vfs/directory_file_system.h"
#include "samples/builder/files.h"

namespace orb::samples {

io::Bytes compileScript(const std::filesystem::path& directory, const std::string& path) {
    namespace bos = unitview::bos;
    const io::Bytes source = readFile(directory / path);
    const io::DirectoryFileSystem files(directory);
    const bos::BosCompilation compiled = bos::compileBos(io::asText(source), path, &files);
    const auto& all = compiled.diagnostics;
    // A warning in a sample is a mistake as well.
    if (!all.empty())
        throw std::runtime_error(fmt::format(
            "{}:{}: {}", (directory / all[0].file).generic_string(), all[0].line, all[0].message));
    return io::writeCob(compiled.code.cob);
}

}  // namespace orb::samples
