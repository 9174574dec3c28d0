#include "io/archive/hpi_writer.h"

#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "io/archive/hpi_draft.h"
#include "io/archive/hpi_format.h"

namespace orb::io {
namespace {

/// Room for the directory block and the tables of an archive about to be laid out.
constexpr std::uint64_t kReservedForStructure = 1 << 20;

/// Takes over the tree of an archive as it is: order, spelling, empty directories and second files
/// of one name included.
class ArchiveCopy {
public:
    ArchiveCopy(const HpiArchive& archive, HpiReader& reader, HpiDraft& draft)
        : archive_(archive), reader_(reader), draft_(draft), bytesLeft_(reader.length()) {}

    /// The file that takes the place of an entry.
    void replace(const HpiEntry* entry, const HpiDraft::File& file) { replaced_[entry] = file; }

    void copy() { copyDirectory(archive_.root().entries, draft_.root); }

private:
    // As deep as directories of an archive nest, which their reader bounds.
    void copyDirectory(const HpiEntries& entries, HpiDraft::Directory& directory) {
        for (const HpiEntry& entry : entries) {
            if (const HpiEntries* const children = entry.directory()) {
                copyDirectory(*children, directory.append(entry.name));
                continue;
            }
            const auto replaced = replaced_.find(&entry);
            directory.children.push_back({entry.name, replaced == replaced_.end()
                                                          ? copyFile(*entry.file())
                                                          : replaced->second});
        }
    }

    HpiDraft::File copyFile(const HpiFileEntry& file) {
        const auto [known, isNew] = blobs_.try_emplace(
            {file.dataOffset, file.fileSize, file.compressionFlag != 0}, draft_.blobs.size());
        if (isNew)
            draft_.blobs.emplace_back([this, file](ByteWriter& out) { copyData(file, out); });
        return {file.fileSize, file.compressionFlag, known->second};
    }

    /// Files either share their data wholly or not at all, so that together they cannot be longer
    /// than the archive.
    void copyData(const HpiFileEntry& file, ByteWriter& out) {
        if (file.fileSize == 0) return;
        const Bytes data = file.compressionFlag == 0
                               ? reader_.readAt(file.dataOffset, file.fileSize)
                               : reader_.readBlob(file);
        if (data.size() > bytesLeft_) throw std::runtime_error("HPI files overlap");
        bytesLeft_ -= data.size();
        out.bytes(data);
    }

    const HpiArchive& archive_;
    HpiReader& reader_;
    HpiDraft& draft_;
    std::uint64_t bytesLeft_;
    std::map<const HpiEntry*, HpiDraft::File> replaced_;
    std::map<std::tuple<std::uint32_t, std::uint32_t, bool>, std::size_t> blobs_;
};

}  // namespace

HpiInputFile compressedHpiFile(std::string path, ByteView content, HpiMethod method) {
    const std::uint32_t size = checkedHpiSize(content.size());
    ByteWriter out;
    appendHpiChunks(out, content, method);
    return {std::move(path), out.take(), size};
}

Bytes writeHpi(std::span<const HpiInputFile> files, HpiMethod method) {
    HpiDraft draft;
    std::uint64_t expectedSize = kReservedForStructure;
    for (const HpiInputFile& file : files) {
        expectedSize += file.content.size();
        const std::uint32_t size = file.decodedSize.value_or(checkedHpiSize(file.content.size()));
        draft.addFile(file.path, {size, 1, draft.blobs.size()});
        draft.blobs.emplace_back([&file, method](ByteWriter& out) {
            if (file.decodedSize)
                out.bytes(file.content);
            else
                appendHpiChunks(out, file.content, method);
        });
    }
    return layOutHpi(draft, kHpiVersion, expectedSize);
}

Bytes rewriteHpi(const HpiArchive& archive, std::span<const HpiReplacement> files) {
    HpiReader reader = archive.openReader();
    HpiDraft draft;
    ArchiveCopy copy(archive, reader, draft);
    std::vector<std::pair<std::string_view, HpiDraft::File>> added;
    std::uint64_t expectedSize = reader.length() + kReservedForStructure;
    for (const HpiReplacement& replacement : files) {
        const ByteView content = replacement.content;
        const HpiDraft::File file{checkedHpiSize(content.size()), 1, draft.blobs.size()};
        draft.blobs.emplace_back([content](ByteWriter& out) { appendHpiChunks(out, content); });
        expectedSize += content.size();
        if (const HpiEntry* const existing = archive.findFile(replacement.path))
            copy.replace(existing, file);
        else
            added.emplace_back(replacement.path, file);
    }
    copy.copy();
    for (const auto& [path, file] : added) draft.addFile(path, file);
    return layOutHpi(draft, archive.isBank() ? kHpiBankVersion : kHpiVersion, expectedSize);
}

}  // namespace orb::io
