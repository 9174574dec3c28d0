#include <algorithm>
#include <memory>
#include <span>
#include <variant>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/path_text.h"
#include "server/base64.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/archive_browser.h"
#include "session/archive_preview.h"
#include "session/browsed_files.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxListedEntries = 100'000;
constexpr std::int64_t kDefaultPreviewBytes = 65'536;

/// What a payload's "path" names: an archive, or files that are browsed like one. What an archive's
/// reader throws is the whole error text.
using Browsed = std::variant<std::unique_ptr<io::HpiArchive>, BrowsedFiles>;

Browsed openBrowsed(const UnitViewSession& session, const std::filesystem::path& path) {
    const auto open = [](const std::filesystem::path& archive) {
        return reportingFailure([&] { return std::make_unique<io::HpiArchive>(archive); });
    };
    if (!session.hasData()) {  // there is nothing but archives then
        if (path.empty()) failRequired("path");
        return open(path);
    }
    const MountedData& data = session.data();
    if (path.empty()) return BrowsedFiles(data);
    const std::filesystem::path archive = resolveArchivePath(path, data.roots);
    if (isFolderPath(archive, data.roots)) return BrowsedFiles(data, path);
    return open(archive);
}

template <typename... Visitors>
struct Visit : Visitors... {
    using Visitors::operator()...;
};
template <typename... Visitors>
Visit(Visitors...) -> Visit<Visitors...>;

using ArchivePtr = std::unique_ptr<io::HpiArchive>;

bool isBank(const Browsed& browsed) {
    const auto* const archive = std::get_if<ArchivePtr>(&browsed);
    return archive && (*archive)->isBank();
}

json encodeFile(const std::string& pathKey, const std::string& path,
                const io::HpiFileEntry& entry) {
    return {{pathKey, path}, {"size", entry.fileSize}, {"compressed", entry.compressionFlag != 0}};
}

struct Totals {
    std::uint64_t files = 0, directories = 0, bytes = 0;

    bool isFull() const { return files + directories > kMaxListedEntries; }
};

/// Counts everything below, but lists only what comes before the totals are full.
json encodeTree(const std::string& name, const io::HpiEntries& entries, Totals& totals) {
    json directories = json::array();
    json files = json::array();
    for (const io::HpiEntry& entry : entries) {
        if (const auto* directory = entry.directory()) {
            ++totals.directories;
            const bool isListed = !totals.isFull();
            json tree = encodeTree(entry.name, *directory, totals);
            if (isListed) directories.push_back(std::move(tree));
            continue;
        }
        ++totals.files;
        totals.bytes += entry.file()->fileSize;
        if (!totals.isFull()) files.push_back(encodeFile("name", entry.name, *entry.file()));
    }
    return {{"name", name}, {"directories", std::move(directories)}, {"files", std::move(files)}};
}

json encodeFile(const std::string& pathKey, std::string_view path, const BrowsedFile& file,
                bool withSource) {
    json result = {{pathKey, path}, {"size", file.size}, {"compressed", file.isCompressed}};
    if (withSource) result["source"] = encodeSource(file.source);
    return result;
}

/// The tree of files whose paths share the first `prefix` characters; those of one directory stand
/// together. Recursion is as deep as paths are taken apart by their readers.
json encodeTree(std::string_view name, std::span<const BrowsedFile> files, std::size_t prefix,
                bool withSource, Totals& totals) {
    json directories = json::array();
    json here = json::array();
    while (!files.empty()) {
        const std::string_view rest = std::string_view(files.front().path).substr(prefix);
        const std::size_t slash = rest.find('/');
        if (slash == std::string_view::npos) {
            ++totals.files;
            totals.bytes += files.front().size;
            if (!totals.isFull())
                here.push_back(encodeFile("name", rest, files.front(), withSource));
            files = files.subspan(1);
            continue;
        }
        const std::string_view directory = rest.substr(0, slash);
        const auto isElsewhere = [&](const BrowsedFile& file) {
            const std::string_view other = std::string_view(file.path).substr(prefix);
            return other.size() <= slash || other[slash] != '/' ||
                   !io::equalsIgnoringCase(other.substr(0, slash), directory);
        };
        const auto end = std::ranges::find_if(files, isElsewhere);
        const auto count = static_cast<std::size_t>(end - files.begin());
        ++totals.directories;
        const bool isListed = !totals.isFull();
        json tree =
            encodeTree(directory, files.first(count), prefix + slash + 1, withSource, totals);
        if (isListed) directories.push_back(std::move(tree));
        files = files.subspan(count);
    }
    return {{"name", name}, {"directories", std::move(directories)}, {"files", std::move(here)}};
}

/// The archives that are mounted, in their order.
json encodeArchives(const MountedData& data) {
    json archives = json::array();
    for (const io::VfsLayer& layer : data.files.layers())
        if (layer.kind == io::FileLocation::Kind::archive)
            archives.push_back(io::textFromPath(layer.path));
    return archives;
}

struct PreviewEncoder {
    json& data;

    void operator()(const TextPreview& text) const {
        data.update({{"kind", "text"}, {"text", text.text}});
    }
    void operator()(const PngPicture& image) const {
        data.update({{"kind", "image"},
                     {"width", image.width},
                     {"height", image.height},
                     {"png_b64", encodeBase64(image.png)}});
    }
    void operator()(const ModelPreview& model) const {
        data.update({{"kind", "model"},
                     {"pieces", model.pieces},
                     {"vertexCount", model.vertexCount},
                     {"primitiveCount", model.primitiveCount}});
    }
    void operator()(const ScriptPreview& script) const {
        data.update({{"kind", "script"}, {"scripts", script.scripts}, {"pieces", script.pieces}});
    }
    void operator()(const SoundPreview& sound) const {
        data.update({{"kind", "sound"}, {"wav_b64", encodeBase64(sound.wave)}});
    }
    void operator()(const BinaryPreview& binary) const {
        data.update({{"kind", "binary"}, {"hex", binary.hex}});
    }
};

struct ExtractionRequest {
    std::filesystem::path path, destination;
    std::string directory;
    bool overwrite = false;
    io::Progress progress;
};

Reply extractBelow(UnitViewSession& session, const ExtractionRequest& request) {
    const Browsed browsed = openBrowsed(session, request.path);
    const auto extract =
        Visit{[&](const ArchivePtr& archive) {
                  return extractArchiveDirectory(*archive, request.directory, request.destination,
                                                 request.overwrite, request.progress);
              },
              [&](const BrowsedFiles& files) {
                  return extractDirectory(files, request.directory, request.destination,
                                          request.overwrite, request.progress);
              }};
    const ExtractionResult result = reportingFailure([&] { return std::visit(extract, browsed); });
    json skipped = json::array();
    for (const auto& [internalPath, reason] : result.skipped)
        skipped.push_back({{"internalPath", internalPath}, {"reason", reason}});
    return {{{"fileCount", result.fileCount},
             {"byteSize", result.byteSize},
             {"skipped", std::move(skipped)}}};
}

ExtractionRequest decodeExtraction(const Payload& payload, bool ofDirectory) {
    const auto directory = ofDirectory ? payload.text("directory") : std::string();
    const auto path = payload.path("path");
    const auto destination = payload.path("destination");
    const bool overwrite = payload.flag("overwrite").value_or(false);
    const io::Progress progress = payload.progress();
    require("path", path);
    require("directory", directory);
    requireFilled("destination", destination);
    return {*path, *destination, *directory, overwrite, progress};
}

PreviewOptions decodePreview(const Payload& payload) {
    PreviewOptions options;
    options.maxBytes = static_cast<std::size_t>(
        std::max<std::int64_t>(payload.integer("maxBytes").value_or(kDefaultPreviewBytes), 0));
    const auto form = textOption(payload, "as");
    options.entryName = payload.textIfString("entry");
    const std::int64_t entry = options.entryName ? 0 : integerOption(payload, "entry").value_or(0);
    const std::int64_t frame = integerOption(payload, "frame").value_or(0);
    if (form == "glb")
        options.form = PreviewOptions::Form::glb;
    else if (form == "wav")
        options.form = PreviewOptions::Form::wave;
    else if (form)
        throw RequestError("unknown as: " + *form);
    if (entry < 0) throw RequestError(fmt::format("no such entry: {}", entry));
    if (frame < 0) throw RequestError(fmt::format("no such frame: {}", frame));
    options.entry = static_cast<std::size_t>(entry);
    options.frame = static_cast<std::size_t>(frame);
    return options;
}

json encodePreview(const std::filesystem::path& path, const ArchivePreview& preview) {
    json data = {{"path", io::textFromPath(path)},
                 {"internalPath", preview.internalPath},
                 {"size", preview.size},
                 {"truncated", preview.truncated}};
    std::visit(PreviewEncoder{data}, preview.content);
    if (preview.glb) data["glb_b64"] = encodeBase64(*preview.glb);
    if (!preview.entries) return data;
    json entries = json::array();
    for (const GafEntryPreview& entry : *preview.entries)
        entries.push_back({{"name", entry.name},
                           {"frames", entry.frames},
                           {"width", entry.width},
                           {"height", entry.height}});
    data["entries"] = std::move(entries);
    return data;
}

/// Textures for models that are looked at without data roots: none.
const TextureLibrary& texturesOf(const UnitViewSession& session) {
    static const io::CompositeVirtualFileSystem kNoFiles;
    static const TextureLibrary kNoTextures(kNoFiles);
    return session.hasData() ? session.data().pictures.textures : kNoTextures;
}

struct FileContent {
    std::string path;
    BrowsedContent content;
};

FileContent readBrowsed(const Browsed& browsed, const std::string& internalPath) {
    return std::visit(Visit{[&](const ArchivePtr& archive) -> FileContent {
                                ArchiveFile file = findArchiveFile(*archive, internalPath);
                                io::Bytes bytes = archive->openReader().readFile(*file.entry);
                                const std::uint64_t size = bytes.size();
                                return {file.path, {std::move(bytes), size}};
                            },
                            [&](const BrowsedFiles& files) -> FileContent {
                                BrowsedFile file = files.find(internalPath);
                                return {file.path, files.readBeginning(file, kMaxPreviewBytes)};
                            }},
                      browsed);
}

}  // namespace

Reply listArchiveContents(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    require("path", path);
    const Browsed browsed = openBrowsed(session, *path);
    json entries = json::array();
    std::size_t count = 0;
    bool isWhole = true;
    if (const auto* const archive = std::get_if<ArchivePtr>(&browsed)) {
        const auto files = listArchiveFiles(**archive, "");
        count = files.size();
        for (const ArchiveFile& file : std::span(files).first(std::min(count, kMaxListedEntries)))
            entries.push_back(encodeFile("path", file.path, *file.entry));
    } else {
        const auto& tree = std::get<BrowsedFiles>(browsed);
        const BrowsedListing listing = tree.list("");
        count = listing.files.size();
        isWhole = listing.isWhole();
        for (const BrowsedFile& file :
             std::span(listing.files).first(std::min(count, kMaxListedEntries)))
            entries.push_back(encodeFile("path", file.path, file, tree.isStack()));
    }
    Reply reply{{{"path", io::textFromPath(*path)},
                 {"bank", isBank(browsed)},
                 {"entryCount", count},
                 {"entries", std::move(entries)},
                 {"truncated", !isWhole || count > kMaxListedEntries}}};
    if (path->empty()) reply.data["archives"] = encodeArchives(session.data());
    return reply;
}

Reply archiveBrowseOpen(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    require("path", path);
    const Browsed browsed = openBrowsed(session, *path);
    Totals totals;
    bool isWhole = true;
    json root =
        std::visit(Visit{[&](const ArchivePtr& archive) {
                             return encodeTree("", archive->root().entries, totals);
                         },
                         [&](const BrowsedFiles& files) {
                             const BrowsedListing listing = files.list("");
                             isWhole = listing.isWhole();
                             return encodeTree("", listing.files, 0, files.isStack(), totals);
                         }},
                   browsed);
    Reply reply{{{"path", io::textFromPath(*path)},
                 {"bank", isBank(browsed)},
                 {"fileCount", totals.files},
                 {"directoryCount", totals.directories},
                 {"totalSize", totals.bytes},
                 {"truncated", !isWhole || totals.isFull()},
                 {"root", std::move(root)}}};
    if (path->empty()) reply.data["archives"] = encodeArchives(session.data());
    return reply;
}

Reply archiveBrowsePreview(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const auto internalPath = payload.text("internalPath");
    const PreviewOptions options = decodePreview(payload);
    require("path", path);
    requireFilled("internalPath", internalPath);
    const Browsed browsed = openBrowsed(session, *path);
    return reportingFailure([&]() -> Reply {
        const FileContent file = readBrowsed(browsed, *internalPath);
        return {
            encodePreview(*path, previewFile(file.path, file.content.bytes, file.content.size,
                                             options, {session.palette(), texturesOf(session)}))};
    });
}

Reply archiveBrowseExtractOne(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const auto internalPath = payload.text("internalPath");
    const auto destination = payload.path("destination");
    const bool overwrite = payload.flag("overwrite").value_or(false);
    option(payload, "progress");  // one file is done at once
    require("path", path);
    requireFilled("internalPath", internalPath);
    requireFilled("destination", destination);
    const Browsed browsed = openBrowsed(session, *path);
    const auto extract =
        Visit{[&](const ArchivePtr& archive) {
                  return extractArchiveFile(*archive, *internalPath, *destination, overwrite);
              },
              [&](const BrowsedFiles& files) {
                  return extractFile(files, *internalPath, *destination, overwrite);
              }};
    const ExtractedFile file = reportingFailure([&] { return std::visit(extract, browsed); });
    return {{{"writtenPath", io::textFromPath(file.path)}, {"byteSize", file.byteSize}}};
}

Reply archiveBrowseExtractDir(UnitViewSession& session, const Payload& payload) {
    return extractBelow(session, decodeExtraction(payload, true));
}

Reply archiveBrowseExtractAll(UnitViewSession& session, const Payload& payload) {
    return extractBelow(session, decodeExtraction(payload, false));
}

}  // namespace orb::unitview::ipc::handlers
