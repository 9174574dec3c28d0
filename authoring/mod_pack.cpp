#include "authoring/mod_pack.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <unordered_set>

#include <fmt/format.h>

#include "authoring/backup.h"
#include "authoring/file_transaction.h"
#include "authoring/mod_folder.h"
#include "authoring/mod_target.h"
#include "io/archive/hpi_format.h"
#include "io/ascii.h"
#include "io/files/replace_file.h"
#include "io/path_text.h"
#include "io/vfs/data_roots.h"
#include "io/virtual_path.h"
#include "server/logger.h"
#include "session/lint_suppressions.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// Links can let a folder contain itself.
constexpr std::size_t kMaxFolders = 65'536;
constexpr std::size_t kFilesPerLogLine = 1'000;

/// Why files whose names end so stay behind.
struct LeftOutEnding {
    std::string suffix;
    std::string_view reason;
};

const std::vector<LeftOutEnding>& leftOutEndings() {
    static const std::vector<LeftOutEnding> kEndings = {
        {backupPath("").string(), "backup"},
        {io::temporaryPath("").string(), "temporary file"},
        {kOldSuffix, "temporary file"}};
    return kEndings;
}

/// The files of a mod folder as the game meets them: layer by layer, the first of a name wins.
class ModWalk {
public:
    ModWalk(std::span<const io::VfsLayer> layers, const fs::path& destination)
        : layers_(layers), destination_(resolved(destination)) {}

    void run() {
        for (const io::VfsLayer& layer : layers_) walkLayer(layer);
    }

    struct Found {
        const io::VfsLayer* layer;
        /// As its layer spells it.
        std::string path;
    };
    /// By upper-cased path.
    std::map<std::string, Found> files;
    std::map<std::string, std::string> leftOut;

private:
    struct Folder {
        /// Empty for the top.
        std::string path;
        int depth = 0;
    };

    static std::string inFolder(const Folder& folder, const std::string& name) {
        return folder.path.empty() ? name : folder.path + "/" + name;
    }

    void walkLayer(const io::VfsLayer& layer) {
        std::vector<Folder> folders = {{}};
        for (std::size_t i = 0; i < folders.size(); ++i) {
            const Folder folder = folders[i];
            addFolders(layer, folder, folders);
            for (const std::string& name : layer.files->listFiles(folder.path, ""))
                addFile(layer, folder, name);
        }
    }

    void addFolders(const io::VfsLayer& layer, const Folder& folder, std::vector<Folder>& folders) {
        std::unordered_set<std::string> names;
        for (const std::string& name : layer.files->listDirectories(folder.path)) {
            const std::string path = inFolder(folder, name);
            if (!names.insert(io::upperCased(name)).second)
                leftOut.emplace(path, "another folder of that name comes first");
            else if (const std::string reason = whyNoFolder(layer, path, name, folder.depth);
                     !reason.empty())
                leftOut.emplace(path, reason);
            else
                folders.push_back({path, folder.depth + 1});
        }
        if (folders.size() > kMaxFolders)
            throw RequestError("too many folders in: " + io::textFromPath(layer.path));
    }

    static std::string whyNoFolder(const io::VfsLayer& layer, const std::string& path,
                                   const std::string& name, int depth) {
        if (name.starts_with('.')) return "hidden folder";
        if (!io::isPlainComponent(name)) return "name that no archive can hold";
        if (depth + 1 > io::kMaxHpiNesting) return "folders nest too deep";
        if (layer.kind == io::FileLocation::Kind::archive) return {};
        const fs::path folder = layer.path / io::pathFromText(path);
        std::error_code ignored;
        if (fs::is_symlink(folder, ignored) && liesIn(folder.parent_path(), folder))
            return "link to a folder that holds it";
        return {};
    }

    void addFile(const io::VfsLayer& layer, const Folder& folder, const std::string& name) {
        const std::string path = inFolder(folder, name);
        if (const std::string reason = whyNoFile(layer, folder, name); !reason.empty()) {
            leftOut.emplace(path, reason);
            return;
        }
        const auto [known, isNew] = files.try_emplace(io::upperCased(path), Found{&layer, path});
        if (!isNew)
            leftOut.emplace(path, "hidden behind " + io::textFromPath(known->second.layer->path));
    }

    std::string whyNoFile(const io::VfsLayer& layer, const Folder& folder,
                          const std::string& name) const {
        const bool isTop = folder.path.empty();
        const fs::path file = layer.path / io::pathFromText(folder.path) / io::pathFromText(name);
        if (name.starts_with('.')) return "hidden file";
        if (!io::isPlainComponent(name)) return "name that no archive can hold";
        if (isTop && io::equalsIgnoringCase(name, kLintSuppressFile)) return "editor's settings";
        for (const auto& [suffix, reason] : leftOutEndings())
            if (io::endsWithIgnoringCase(name, suffix)) return std::string(reason);
        if (layer.kind == io::FileLocation::Kind::loose && resolved(file) == destination_)
            return "the pack itself";
        if (!io::isArchiveExtension(io::textFromPath(fs::path(name).extension()))) return {};
        return isTop && layer.kind == io::FileLocation::Kind::loose ? whyNoArchive(file)
                                                                    : "archive";
    }

    std::string whyNoArchive(const fs::path& file) const {
        const bool isMounted = std::ranges::any_of(
            layers_, [&](const io::VfsLayer& layer) { return layer.path == file; });
        return isMounted ? "archive, whose files are packed" : "archive that is not mounted";
    }

    std::span<const io::VfsLayer> layers_;
    fs::path destination_;
};

io::Bytes readFound(const ModWalk::Found& file) {
    auto bytes = reportingFailure([&] { return file.layer->files->readFile(file.path); },
                                  "cannot read: " + file.path + ": ");
    if (!bytes) throw RequestError("cannot read: " + file.path);
    return std::move(*bytes);
}

}  // namespace

ModPackResult exportModPack(UnitViewSession& session, const std::optional<fs::path>& modPath,
                            const PackRequest& request, io::FileOps& ops) {
    const MountedData& data = session.data();
    const io::VfsLayer& root = chooseModRoot(data, modPath);
    requirePackDestination(session, request);
    ModWalk walk(layersOf(data, root), request.destination);
    reportingFailure([&] { walk.run(); });

    std::vector<io::HpiInputFile> files;
    files.reserve(walk.files.size());
    for (const auto& [key, found] : walk.files) {
        request.progress(found.path, files.size(), walk.files.size());
        files.push_back({found.path, readFound(found)});
        if (files.size() % kFilesPerLogLine == 0)
            LogLine(LogLevel::info)
                << "[pack] " << files.size() << " of " << walk.files.size() << " files read";
    }
    ModPackResult result;
    for (auto& [path, reason] : walk.leftOut) result.leftOut.push_back({path, reason});
    result.pack = writePack(session, request, files, ops);
    return result;
}

}  // namespace orb::unitview
