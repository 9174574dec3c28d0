#include "authoring/pack_file.h"

#include <algorithm>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "authoring/mod_folder.h"
#include "io/archive/hpi_archive.h"
#include "io/ascii.h"
#include "io/files/replace_file.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/vfs/data_roots.h"
#include "io/virtual_path.h"
#include "server/logger.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFilesPerLogLine = 1'000;

constexpr std::pair<std::string_view, io::HpiMethod> kCompressions[] = {
    {"zlib", io::HpiMethod::zlib}, {"lz77", io::HpiMethod::lz77}, {"none", io::HpiMethod::stored}};

/// The archive that is mounted from this file, or null.
const io::VfsLayer* mountedArchive(const UnitViewSession& session, const fs::path& file) {
    const auto layers = session.data().files.layers();
    const auto found = std::ranges::find_if(layers, [&](const io::VfsLayer& layer) {
        return layer.kind == io::FileLocation::Kind::archive &&
               resolved(layer.path) == resolved(file);
    });
    return found == layers.end() ? nullptr : &*found;
}

/// The mounted mod that a file lies in, or null.
const fs::path* modOf(const UnitViewSession& session, const fs::path& file) {
    const auto& mods = session.data().request.modPaths;
    const auto found =
        std::ranges::find_if(mods, [&](const fs::path& mod) { return liesIn(file, mod); });
    return found == mods.end() ? nullptr : &*found;
}

bool isNamedAsArchive(const fs::path& file) {
    return io::isArchiveExtension(io::textFromPath(file.extension()));
}

std::vector<std::string> filePaths(const io::HpiArchive& archive) {
    std::vector<std::string> paths;
    std::vector<std::pair<std::string, const io::HpiEntries*>> left{{"", &archive.root().entries}};
    while (!left.empty()) {
        const auto [folder, entries] = left.back();
        left.pop_back();
        for (const io::HpiEntry& entry : *entries)
            if (entry.directory())
                left.emplace_back(folder + entry.name + "/", entry.directory());
            else
                paths.push_back(folder + entry.name);
    }
    return paths;
}

/// Nothing else may hold what a pack takes the place of.
void requireHoldsAllOf(const fs::path& mounted, const std::vector<io::HpiInputFile>& files) {
    std::vector<std::string> paths;
    try {
        paths = filePaths(io::HpiArchive(mounted));
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return;  // it is none any more
    }
    std::set<std::string> packed;
    for (const io::HpiInputFile& file : files) packed.insert(io::upperCased(file.path));
    std::erase_if(paths,
                  [&](const std::string& path) { return packed.contains(io::upperCased(path)); });
    if (paths.empty()) return;
    const std::string more =
        paths.size() > 1 ? fmt::format(" and {} more", paths.size() - 1) : std::string();
    throw RequestError(fmt::format("pack lacks files of {}: {}{}", io::textFromPath(mounted),
                                   *std::ranges::min_element(paths), more));
}

}  // namespace

io::HpiMethod compressionNamed(const std::string& name) {
    for (const auto& [word, method] : kCompressions)
        if (word == name) return method;
    throw RequestError("unknown compression: " + name);
}

void requirePackDestination(const UnitViewSession& session, const PackRequest& request) {
    const fs::path& path = request.destination;
    const std::string text = io::textFromPath(path);
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) throw RequestError("destination is a folder: " + text);
    const std::string name = io::textFromPath(path.filename());
    if (!io::isPlainComponent(name) || !io::isFileName(name) || io::isDeviceName(name))
        throw RequestError("bad file name: " + text);
    const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";
    if (!fs::is_directory(folder, ignored))
        throw RequestError("folder not found: " + io::textFromPath(folder));
    if (liesIn(path, session.data().request.taDataPath))
        throw RequestError("destination lies in the game directory: " + text);
    if (!request.overwrite && fs::exists(fs::symlink_status(path, ignored)))
        throw RequestError("file exists: " + text);
    if (!isNamedAsArchive(path) && fs::exists(path, ignored) && modOf(session, path))
        throw RequestError("destination is no archive: " + text);
}

void PackContent::add(std::string path, io::ByteView content) {
    files_.push_back(reportingFailure(
        [&] { return io::compressedHpiFile(std::move(path), content, compression_); }));
    if (files_.size() % kFilesPerLogLine == 0)
        LogLine(LogLevel::info) << "[pack] " << files_.size() << " files compressed";
}

std::vector<io::HpiInputFile> PackContent::takeSorted() {
    std::ranges::sort(files_, {}, &io::HpiInputFile::path);
    return std::exchange(files_, {});
}

WrittenPack writePack(UnitViewSession& session, const PackRequest& request, PackContent content,
                      io::FileOps& ops) {
    const std::vector<io::HpiInputFile> files = content.takeSorted();
    const fs::path& path = request.destination;
    WrittenPack pack{path, files.size(), 0};
    const bool isMounted = mountedArchive(session, path) != nullptr;
    if (isMounted) requireHoldsAllOf(path, files);
    const fs::path* const mod = modOf(session, path);
    if (!isMounted && mod && isNamedAsArchive(path) &&
        resolved(path.parent_path()) == resolved(*mod))
        pack.warning =
            "the pack lies in a mounted mod: the next time the mod is mounted it hides the "
            "loose files that it was made from";
    reportingFailure([&] {
        const io::Bytes bytes = io::writeHpi(files);
        pack.byteSize = bytes.size();
        io::replaceFile(ops, path, bytes);
    });
    LogLine(LogLevel::info) << "[pack] " << io::textFromPath(path) << ": " << pack.fileCount
                            << " files, " << pack.byteSize << " bytes";
    if (const io::VfsLayer* const mounted = mountedArchive(session, path)) {
        const io::FileLocation written{mounted->kind, mounted->path, {}};
        pack.reload = session.refreshAfterWrite(written);
    }
    return pack;
}

}  // namespace orb::unitview
