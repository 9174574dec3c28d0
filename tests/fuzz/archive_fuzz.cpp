#include <optional>

#include "fuzzing.h"
#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_writer.h"
#include "memory_file.h"
#include "session/archive_browser.h"

// An archive: listed, every file read, then rewritten with one file changed and one added.

namespace orb::fuzz {
namespace {

/// Bytes that one input's files are read into; what an archive announces beyond is not looked at.
constexpr std::uint64_t kMaxRead = 16 << 20;

std::optional<io::Bytes> contentOf(const io::HpiArchive& archive, const io::HpiFileEntry& file) {
    std::optional<io::Bytes> content;
    accepts([&] { content = archive.openReader().readFile(file); });
    return content;
}

void readAll(const io::HpiArchive& archive, const std::vector<unitview::ArchiveFile>& files) {
    io::HpiReader reader = archive.openReader();
    std::uint64_t left = kMaxRead;
    for (const unitview::ArchiveFile& file : files) {
        if (file.entry->fileSize > left) continue;
        left -= file.entry->fileSize;
        accepts([&] {
            require(reader.readFile(*file.entry).size() == file.entry->fileSize,
                    "a file is as long as announced");
        });
    }
}

/// What the archive holds of a path, when a look-up through directories of that name finds it.
const io::HpiEntry* find(const io::HpiArchive& archive, const std::string& path) {
    const io::HpiEntry* const entry = archive.findFile(path);
    if (entry) require(archive.storedPath(path).has_value(), "what is found has a stored path");
    return entry;
}

void checkRewritten(const io::HpiArchive& archive, const std::string& path,
                    const std::vector<unitview::ArchiveFile>& files) {
    constexpr std::string_view kContent = "what stands in the new file";
    std::optional<io::Bytes> rewritten;
    const io::HpiReplacement replacement{path, bytesOf(kContent)};
    if (!accepts([&] { rewritten = io::rewriteHpi(archive, {&replacement, 1}); })) return;

    const MemoryFile file(*rewritten);
    const io::HpiArchive again(file.path());
    const io::HpiEntry* const changed = find(again, path);
    require(changed && io::asText(again.readFile(*changed)) == kContent,
            "the new content is there");
    std::size_t compared = 0;
    for (const auto& [name, entry] : files) {
        const io::HpiEntry* const old = find(archive, name);
        if (!old || old == archive.findFile(path) || old->file()->fileSize > 1 << 20) continue;
        const io::HpiEntry* const now = find(again, name);
        require(now != nullptr, "every other file is still there");
        require(contentOf(archive, *old->file()) == contentOf(again, *now->file()),
                "every other file keeps its content");
        if (++compared == 8) break;
    }
}

/// The same files in a new archive.
void checkPackedAnew(const io::HpiArchive& archive,
                     const std::vector<unitview::ArchiveFile>& files) {
    std::vector<io::HpiInputFile> inputs;
    for (const auto& [path, entry] : files) {
        if (entry->fileSize > 1 << 18 || inputs.size() == 32) continue;
        if (auto content = contentOf(archive, *entry))
            inputs.push_back({path, std::move(*content)});
    }
    io::Bytes packed;
    if (!accepts([&] { packed = io::writeHpi(inputs); })) return;
    const MemoryFile file(packed);
    const io::HpiArchive again(file.path());
    for (const io::HpiInputFile& input : inputs) {
        const io::HpiEntry* const entry = find(again, input.path);
        require(entry != nullptr, "every packed file is found");
        const auto first = std::ranges::find_if(inputs, [&](const io::HpiInputFile& other) {
            return find(again, other.path) == entry;
        });
        require(again.readFile(*entry) == first->content, "a packed file keeps its content");
    }
}

}  // namespace

void run(io::ByteView input) {
    const MemoryFile file(input);
    std::optional<io::HpiArchive> archive;
    if (!accepts([&] { archive.emplace(file.path()); })) return;
    std::vector<unitview::ArchiveFile> files;
    if (!accepts([&] { files = unitview::listArchiveFiles(*archive, ""); })) return;
    readAll(*archive, files);
    checkPackedAnew(*archive, files);
    checkRewritten(*archive, "new/file.txt", files);
    if (!files.empty() && archive->findFile(files.front().path))
        checkRewritten(*archive, files.front().path, files);
}

}  // namespace orb::fuzz
