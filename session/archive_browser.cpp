#include "session/archive_browser.h"

#include <algorithm>
#include <exception>
#include <future>
#include <variant>
#include <vector>

#include "io/files/replace_file.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/virtual_path.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// The paths of one listing take at most this much memory together: a directory's name counts once
/// for every file below it, so names of bounded length are no bound.
constexpr std::size_t kMaxListedPathBytes = 64 << 20;

/// Collects the files below a directory. Recursion is as deep as directories of an archive nest,
/// which their reader bounds.
struct FileLister {
    std::vector<ArchiveFile> files;
    std::size_t pathBytesLeft = kMaxListedPathBytes;

    void append(const io::HpiEntries& entries, const std::string& prefix) {
        for (const io::HpiEntry& entry : entries) {
            const std::string path = prefix + entry.name;
            if (path.size() > pathBytesLeft) throw RequestError("archive paths too long");
            pathBytesLeft -= path.size();
            if (const auto* directory = entry.directory())
                append(*directory, path + "/");
            else
                files.push_back({path, entry.file()});
        }
    }
};

}  // namespace

bool isSafePath(std::string_view path) {
    constexpr std::string_view kForbidden("\\:\0", 3);
    if (path.find_first_of(kForbidden) != std::string_view::npos) return false;
    for (std::size_t begin = 0;;) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view name = path.substr(begin, end - begin);
        if (!io::isPlainComponent(name) || !io::isFileName(name)) return false;
        if (end == path.size()) return true;
        begin = end + 1;
    }
}

namespace {

void writeNew(const fs::path& path, io::ByteView bytes, bool overwrite) {
    if (!overwrite && fs::exists(fs::symlink_status(path)))
        throw RequestError("file exists: " + io::textFromPath(path));
    fs::create_directories(path.parent_path());
    io::replaceFile(io::systemFileOps(), path, bytes, io::Durability::unflushed);
}

}  // namespace

fs::path resolveArchivePath(const fs::path& path, std::span<const fs::path> roots) {
    if (path.is_absolute()) return path;
    std::error_code ignored;
    for (const fs::path& root : roots)
        if (fs::path candidate = root / path; fs::is_regular_file(candidate, ignored))
            return candidate;
    return path;
}

ArchiveFile findArchiveFile(const io::HpiArchive& archive, const std::string& internalPath) {
    const auto path = archive.storedPath(internalPath);
    if (!path) throw RequestError("not in archive: " + internalPath);
    return {*path, archive.findFile(internalPath)->file()};
}

std::vector<ArchiveFile> listArchiveFiles(const io::HpiArchive& archive,
                                          const std::string& directory) {
    std::string storedPath;
    const io::HpiEntries* const entries = archive.findDirectory(directory, &storedPath);
    if (!entries) throw RequestError("not in archive: " + directory);
    FileLister lister;
    lister.append(*entries, storedPath);
    return std::move(lister.files);
}

ExtractedFile writeExtracted(const std::string& path, io::ByteView bytes,
                             const fs::path& destination, bool overwrite) {
    if (!isSafePath(path)) throw RequestError("unsafe file name");
    fs::path written = destination / io::pathFromText(path);
    writeNew(written, bytes, overwrite);
    return {std::move(written), bytes.size()};
}

ExtractedFile extractArchiveFile(const io::HpiArchive& archive, const std::string& internalPath,
                                 const fs::path& destination, bool overwrite) {
    const ArchiveFile file = findArchiveFile(archive, internalPath);
    const std::string name = file.path.substr(file.path.rfind('/') + 1);
    if (!isSafePath(name)) throw RequestError("unsafe file name: " + name);
    const io::Bytes bytes = archive.openReader().readFile(*file.entry);
    const fs::path path = destination / io::pathFromText(name);
    writeNew(path, bytes, overwrite);
    return {path, bytes.size()};
}

namespace {

/// A file's content, or why it has none.
using Decoded = std::variant<io::Bytes, std::exception_ptr>;

/// Decodes the files of an archive in their order, a batch at a time.
class BatchDecoder {
public:
    BatchDecoder(const io::HpiArchive& archive, std::span<const ArchiveFile> files)
        : archive_(archive),
          files_(files),
          reader_(archive.openReader()),
          bytesLeft_(reader_.maxDecodedBytes()) {}

    /// The next files; none at the end.
    std::vector<Decoded> next() {
        constexpr std::uint64_t kBytes = 1 << 20;
        constexpr std::size_t kFiles = 1'024;
        std::vector<Decoded> batch;
        for (std::uint64_t bytes = 0; !files_.empty() && bytes < kBytes && batch.size() < kFiles;) {
            const ArchiveFile& file = files_.front();
            files_ = files_.subspan(1);
            bytes += file.entry->fileSize;
            try {
                batch.emplace_back(decode(file));
            } catch (...) {
                batch.emplace_back(std::current_exception());
            }
        }
        return batch;
    }

private:
    io::Bytes decode(const ArchiveFile& file) {
        if (!isSafePath(file.path)) throw RequestError("unsafe file name");
        const io::HpiEntry* const found = archive_.findFile(file.path);
        if (found && found->file() != file.entry)
            throw RequestError("another file of that name comes first");
        if (file.entry->fileSize > bytesLeft_)
            throw RequestError("more data than the archive can hold");
        bytesLeft_ -= file.entry->fileSize;
        return reader_.readFile(*file.entry);
    }

    const io::HpiArchive& archive_;
    std::span<const ArchiveFile> files_;
    io::HpiReader reader_;
    std::uint64_t bytesLeft_;
};

const io::Bytes& contentOf(const Decoded& decoded) {
    if (const auto* const error = std::get_if<std::exception_ptr>(&decoded))
        std::rethrow_exception(*error);
    return std::get<io::Bytes>(decoded);
}

}  // namespace

// While a batch is written, another thread decodes the next one, where there is a thread to be had.
ExtractionResult extractArchiveDirectory(const io::HpiArchive& archive,
                                         const std::string& directory, const fs::path& destination,
                                         bool overwrite, const io::Progress& progress) {
    ExtractionResult result;
    const std::vector<ArchiveFile> files = listArchiveFiles(archive, directory);
    BatchDecoder decoder(archive, files);
    const auto decodeNext = [&] {
        return std::async(std::launch::async | std::launch::deferred,
                          [&] { return decoder.next(); });
    };
    auto file = files.begin();
    auto coming = decodeNext();
    for (auto batch = coming.get(); !batch.empty(); batch = coming.get()) {
        coming = decodeNext();
        for (const Decoded& decoded : batch) {
            progress(file->path, static_cast<std::size_t>(file - files.begin()), files.size());
            try {
                result.byteSize +=
                    writeExtracted(file->path, contentOf(decoded), destination, overwrite).byteSize;
                ++result.fileCount;
            } catch (const std::exception& error) {
                io::rethrowOutOfMemory(error);
                result.skipped.push_back({file->path, error.what()});
            }
            ++file;
        }
    }
    return result;
}

}  // namespace orb::unitview
