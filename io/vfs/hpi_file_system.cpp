#include "io/vfs/hpi_file_system.h"

#include <exception>

#include "io/ascii.h"
#include "io/out_of_memory.h"

namespace orb::io {
namespace {

/// One walk decodes at most this many bytes. Entries can share their data, so neither the archive's
/// size nor that of one file is a bound.
constexpr std::uint64_t kMaxVisitedBytes = 512 << 20;

}  // namespace

std::optional<Bytes> HpiFileSystem::readFile(const VirtualPath& path) const {
    const HpiEntry* const file = archive_.findFile(path);
    if (!file) return std::nullopt;
    return archive_.readFile(*file);
}

std::vector<std::string> HpiFileSystem::listFiles(const VirtualPath& directory,
                                                  std::string_view suffix) const {
    std::vector<std::string> names;
    const HpiEntries* const entries = archive_.findDirectory(directory);
    if (!entries) return names;
    for (const HpiEntry& entry : *entries)
        if (entry.file() && isPlainComponent(entry.name) &&
            endsWithIgnoringCase(entry.name, suffix))
            names.push_back(entry.name);
    return names;
}

std::vector<std::string> HpiFileSystem::listDirectories(const VirtualPath& directory) const {
    std::vector<std::string> names;
    const HpiEntries* const entries = archive_.findDirectory(directory);
    if (!entries) return names;
    for (const HpiEntry& entry : *entries)
        if (entry.directory() && isPlainComponent(entry.name)) names.push_back(entry.name);
    return names;
}

std::optional<FileLocation> HpiFileSystem::locate(const VirtualPath& path) const {
    std::optional<std::string> stored = archive_.storedPath(path);
    if (!stored) return std::nullopt;
    return FileLocation{FileLocation::Kind::archive, archive_.path(), std::move(*stored)};
}

void HpiFileSystem::visitFiles(const VirtualPath& directory, std::string_view suffix,
                               const FileVisitor& visit, const FileFilter& wanted) const {
    const HpiEntries* const entries = archive_.findDirectory(directory);
    if (!entries) return;
    std::optional<HpiReader> reader;
    std::uint64_t bytesLeft = kMaxVisitedBytes;
    for (const HpiEntry& entry : *entries) {
        if (!entry.file() || !endsWithIgnoringCase(entry.name, suffix)) continue;
        // A second file of the same name is out of every path's reach.
        if (archive_.findFileIn(*entries, entry.name) != &entry) continue;
        if (wanted && !wanted(entry.name)) continue;
        std::optional<Bytes> content;
        std::string error;
        try {
            const std::uint32_t size = entry.file()->fileSize;
            if (size > bytesLeft) throw std::runtime_error("HPI directory holds too much data");
            bytesLeft -= size;
            if (!reader) reader.emplace(archive_.openReader());
            content = reader->readFile(*entry.file());
        } catch (const std::exception& failure) {
            rethrowOutOfMemory(failure);
            error = failure.what();
        }
        visit(entry.name, std::move(content), error);
    }
}

}  // namespace orb::io
