#include "authoring/new_mod.h"

#include <algorithm>
#include <vector>

#include "authoring/mod_folder.h"
#include "io/files/replace_file.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSubfolders[] = {io::kUnitFiles.folder, io::kModelFiles.folder,
                                            io::kScriptFiles.folder, io::kBuildPictureFiles.folder,
                                            io::kWeaponFiles.folder};

[[noreturn]] void failToCreate(const std::error_code& error) {
    if (error == std::errc::not_enough_memory) io::throwOutOfMemory();
    throw RequestError("create dir: " + error.message());
}

/// Folders made one after the other, and removed again unless they are kept.
class NewFolders {
public:
    explicit NewFolders(io::FileOps& ops) : ops_(ops) {}
    NewFolders(const NewFolders&) = delete;
    NewFolders& operator=(const NewFolders&) = delete;
    ~NewFolders() {
        for (auto folder = made_.rbegin(); folder != made_.rend(); ++folder)
            io::removeIfPossible(ops_, *folder);
    }

    void make(const fs::path& folder) {
        std::error_code error;
        ops_.createDirectories(folder, error);
        if (error) failToCreate(error);
        made_.push_back(folder);
    }
    void keep() { made_.clear(); }

private:
    io::FileOps& ops_;
    std::vector<fs::path> made_;
};

/// Whether there is such a folder, which must be empty; else the one that is to hold it must be
/// there.
bool isThere(io::FileOps& ops, const fs::path& path) {
    std::error_code error;
    const auto existing = io::statusOfExisting(ops, path, error);
    if (error) failToCreate(error);
    if (existing) {
        if (!fs::is_directory(*existing))
            failToCreate(std::make_error_code(std::errc::file_exists));
        const bool isEmpty = fs::is_empty(path, error);
        if (error) failToCreate(error);
        if (!isEmpty) throw RequestError("folder is not empty: " + io::textFromPath(path));
        return true;
    }
    const fs::path parent = path.has_parent_path() ? path.parent_path() : ".";
    const auto holder = io::statusOfExisting(ops, parent, error);
    if (error) failToCreate(error);
    if (!holder) failToCreate(std::make_error_code(std::errc::no_such_file_or_directory));
    if (!fs::is_directory(*holder)) failToCreate(std::make_error_code(std::errc::not_a_directory));
    return false;
}

std::size_t mountFirst(UnitViewSession& session, const fs::path& mod) {
    DataRootsRequest request = session.data().request;
    const fs::path target = resolved(mod);
    std::erase_if(request.modPaths, [&](const fs::path& path) { return resolved(path) == target; });
    request.modPaths.insert(request.modPaths.begin(), mod);
    reportingFailure([&] { session.mountAgain(request); }, "mount failed: ");
    return session.data().catalogue.roster().size();
}

}  // namespace

NewMod createModFolder(UnitViewSession& session, const fs::path& path, bool mount,
                       io::FileOps& ops) {
    if (mount) session.data();
    const fs::path folder = io::withoutEndSlash(path);
    if (!io::isPlainComponent(io::textFromPath(folder.filename())) ||
        io::isDeviceName(io::textFromPath(folder.filename())))
        throw RequestError("bad folder name: " + io::textFromPath(path));
    if (session.hasData() && liesIn(folder, session.data().request.taDataPath))
        throw RequestError("mod folder lies in the game directory: " + io::textFromPath(path));
    NewMod result{folder, !isThere(ops, folder), {}};
    NewFolders folders(ops);
    if (result.created) folders.make(folder);
    for (const std::string_view name : kSubfolders) folders.make(folder / name);
    if (mount) result.unitCount = mountFirst(session, folder);
    folders.keep();
    return result;
}

}  // namespace orb::unitview
