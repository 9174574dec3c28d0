#include <algorithm>
#include <span>

#include "io/path_text.h"
#include "server/base64.h"
#include "server/handlers/handlers.h"
#include "session/archive_browser.h"
#include "session/archive_preview.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxListedEntries = 100'000;
constexpr std::int64_t kDefaultPreviewBytes = 65'536;

/// The archive that the payload's "path" names. What its reader throws is the whole error text.
io::HpiArchive openArchive(const UnitViewSession& session, const std::filesystem::path& path) {
    const auto roots = session.hasData() ? std::span(session.data().roots)
                                         : std::span<const std::filesystem::path>();
    return reportingFailure([&] { return io::HpiArchive(resolveArchivePath(path, roots)); });
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
    void operator()(const BinaryPreview& binary) const {
        data.update({{"kind", "binary"}, {"hex", binary.hex}});
    }
};

Reply extractBelow(UnitViewSession& session, const Payload& payload, const std::string& directory) {
    const auto path = payload.path("path");
    const auto destination = payload.path("destination");
    const bool overwrite = payload.flag("overwrite").value_or(false);
    requireFilled("path", path);
    requireFilled("destination", destination);
    const io::HpiArchive archive = openArchive(session, *path);
    const ExtractionResult result = reportingFailure(
        [&] { return extractArchiveDirectory(archive, directory, *destination, overwrite); });
    json skipped = json::array();
    for (const auto& [internalPath, reason] : result.skipped)
        skipped.push_back({{"internalPath", internalPath}, {"reason", reason}});
    return {{{"fileCount", result.fileCount},
             {"byteSize", result.byteSize},
             {"skipped", std::move(skipped)}}};
}

}  // namespace

Reply listArchiveContents(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    requireFilled("path", path);
    const io::HpiArchive archive = openArchive(session, *path);
    const auto files = listArchiveFiles(archive, "");
    json entries = json::array();
    for (const ArchiveFile& file :
         std::span(files).first(std::min(files.size(), kMaxListedEntries)))
        entries.push_back(encodeFile("path", file.path, *file.entry));
    return {{{"path", io::textFromPath(*path)},
             {"bank", archive.isBank()},
             {"entryCount", files.size()},
             {"entries", std::move(entries)},
             {"truncated", files.size() > kMaxListedEntries}}};
}

Reply archiveBrowseOpen(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    requireFilled("path", path);
    const io::HpiArchive archive = openArchive(session, *path);
    Totals totals;
    json root = encodeTree("", archive.root().entries, totals);
    return {{{"path", io::textFromPath(*path)},
             {"bank", archive.isBank()},
             {"fileCount", totals.files},
             {"directoryCount", totals.directories},
             {"totalSize", totals.bytes},
             {"truncated", totals.isFull()},
             {"root", std::move(root)}}};
}

Reply archiveBrowsePreview(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const auto internalPath = payload.text("internalPath");
    const auto maxBytes = payload.integer("maxBytes").value_or(kDefaultPreviewBytes);
    requireFilled("path", path);
    requireFilled("internalPath", internalPath);
    const io::HpiArchive archive = openArchive(session, *path);
    const ArchivePreview preview = reportingFailure([&] {
        return previewArchiveFile(archive, *internalPath,
                                  static_cast<std::size_t>(std::max<std::int64_t>(maxBytes, 0)),
                                  session.palette());
    });
    json data = {{"path", io::textFromPath(*path)},
                 {"internalPath", preview.internalPath},
                 {"size", preview.size},
                 {"truncated", preview.truncated}};
    std::visit(PreviewEncoder{data}, preview.content);
    return {std::move(data)};
}

Reply archiveBrowseExtractOne(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const auto internalPath = payload.text("internalPath");
    const auto destination = payload.path("destination");
    const bool overwrite = payload.flag("overwrite").value_or(false);
    requireFilled("path", path);
    requireFilled("internalPath", internalPath);
    requireFilled("destination", destination);
    const io::HpiArchive archive = openArchive(session, *path);
    const ExtractedFile file = reportingFailure(
        [&] { return extractArchiveFile(archive, *internalPath, *destination, overwrite); });
    return {{{"writtenPath", io::textFromPath(file.path)}, {"byteSize", file.byteSize}}};
}

Reply archiveBrowseExtractDir(UnitViewSession& session, const Payload& payload) {
    return extractBelow(session, payload, payload.text("directory").value_or(""));
}

Reply archiveBrowseExtractAll(UnitViewSession& session, const Payload& payload) {
    return extractBelow(session, payload, "");
}

}  // namespace orb::unitview::ipc::handlers
