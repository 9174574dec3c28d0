#include "samples/builder/root_sources.h"

#include <fmt/format.h>

#include "samples/builder/map_text.h"
#include "samples/builder/script_text.h"
#include "samples/builder/sound_text.h"

namespace orb::samples {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSourceSuffix = ".txt";
constexpr std::string_view kScriptSuffix = ".bos";

struct SourceFile {
    std::string path;    // in the source directory, "/" separated
    std::string result;  // the path of what it becomes
    std::string kind;    // the result's extension for a text that is translated, else empty
};

std::vector<SourceFile> listSources(const fs::path& directory) {
    std::vector<SourceFile> sources;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string path = fs::relative(entry.path(), directory).generic_string();
        if (!entry.is_regular_file() || path == kPackFile) continue;
        SourceFile source{path, path, {}};
        if (path.ends_with(kSourceSuffix)) {
            source.result.resize(path.size() - kSourceSuffix.size());
            source.kind = fs::path(source.result).extension().string();
        }
        sources.push_back(std::move(source));
    }
    return sources;
}

io::Bytes build(SourceText& text, const std::string& kind, const ArtContext& context) {
    if (kind == ".PAL") return writePalette(context.palette.colors);
    if (kind == ".gaf")
        return io::writeGaf(parseGafText(text, context), io::GafEncoding::compressed);
    if (kind == ".pcx") return writePcxFile(parseImage(text, context), context.palette);
    if (kind == ".tnt") return io::writeTnt(parseMapText(text, context.palette));
    if (kind == ".png") return writePngFile(parseImage(text, context), context.palette);
    throw std::runtime_error(fmt::format("no rule makes a {} file from a text", kind));
}

}  // namespace

FileSet buildRootFiles(const fs::path& directory, const NamedPalette& palette, ModelSet& models) {
    const std::vector<SourceFile> sources = listSources(directory);
    FileSet files;
    // Models first: pictures may show any of them.
    for (const SourceFile& source : sources) {
        if (source.kind != ".3do") continue;
        SourceText text = SourceText::read(directory, source.path);
        const auto& model = models[fs::path(source.result).stem().string()] =
            parseModel(text, palette);
        files[source.result] = io::write3do(model);
    }
    for (const SourceFile& source : sources) {
        if (source.kind == ".3do") continue;
        if (source.kind.empty()) {
            files[source.path] = readFile(directory / source.path);
            if (source.path.ends_with(kScriptSuffix))
                files[fs::path(source.path).replace_extension(".cob").generic_string()] =
                    compileScript(directory, source.path);
            continue;
        }
        if (source.kind == ".cob") {
            files[source.result] = compileScript(directory, source.path);
            continue;
        }
        SourceText text = SourceText::read(directory, source.path);
        if (source.kind == ".wav") {
            const std::string folder = fs::path(source.path).parent_path().generic_string();
            for (auto& [name, bytes] : parseSounds(text))
                files[fmt::format("{}/{}", folder, name)] = std::move(bytes);
        } else {
            files[source.result] = build(text, source.kind, {palette, models});
        }
    }
    return files;
}

}  // namespace orb::samples
