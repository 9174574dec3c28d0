#include "io/archive/hpi_draft.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_format.h"
#include "io/ascii.h"

namespace orb::io {
namespace {

/// Ends every archive; no reader looks at it.
constexpr std::string_view kBanner =
    "This archive was packed by ORB Unit Editor. Its files are chunked; end of data. Good hunting!";
static_assert(kBanner.size() == 93);

class LayOut {
public:
    explicit LayOut(const HpiDraft& draft) : draft_(draft) {}

    Bytes write(std::uint32_t version, std::uint64_t expectedSize) {
        out_.reserve(static_cast<std::size_t>(expectedSize));
        out_.u32(kHpiMagic);
        out_.u32(version);
        out_.u32(0);  // directory end
        out_.u32(0);  // header key
        out_.u32(kHpiHeaderSize);
        writeDirectory(draft_.root);
        out_.patchU32(8, position());
        writeBlobs();
        checkedHpiSize(out_.position());
        out_.text(kBanner);
        return out_.take();
    }

private:
    struct FileRecord {
        std::size_t blob;
        std::size_t offset;
    };

    /// Depth first: record and entry list of the directory, then each entry's name and record.
    void writeDirectory(const HpiDraft::Directory& directory) {
        out_.u32(checkedHpiSize(directory.children.size()));
        out_.u32(position() + 4);
        std::size_t entry = out_.position();
        for (const HpiDraft::Child& child : directory.children) {
            out_.zeros(8);  // offsets of name and record
            out_.u8(child.directory ? 1 : 0);
        }
        for (const HpiDraft::Child& child : directory.children) {
            out_.patchU32(entry, position());
            out_.cString(child.name);
            out_.patchU32(entry + 4, position());
            if (child.directory)
                writeDirectory(*child.directory);
            else
                writeFileRecord(child.file);
            entry += kHpiEntrySize;
        }
    }

    void writeFileRecord(const HpiDraft::File& file) {
        records_.push_back({file.blob, out_.position()});
        out_.u32(0);  // data offset
        out_.u32(file.size);
        out_.u8(file.compressionFlag);
    }

    void writeBlobs() {
        std::vector<std::optional<std::uint32_t>> offsets(draft_.blobs.size());
        for (const FileRecord& record : records_) {
            auto& offset = offsets[record.blob];
            if (!offset) {
                offset = position();
                draft_.blobs[record.blob](out_);
            }
            out_.patchU32(record.offset, *offset);
        }
    }

    std::uint32_t position() const { return checkedHpiSize(out_.position()); }

    const HpiDraft& draft_;
    ByteWriter out_;
    std::vector<FileRecord> records_;
};

}  // namespace

HpiDraft::Directory& HpiDraft::Directory::append(std::string_view name) {
    children.push_back({std::string(name), {}, std::make_unique<Directory>()});
    Directory& added = *children.back().directory;
    directoriesByFoldedName.try_emplace(lowerCased(name), &added);
    return added;
}

HpiDraft::Directory& HpiDraft::Directory::subdirectory(std::string_view name) {
    const auto found = directoriesByFoldedName.find(lowerCased(name));
    return found == directoriesByFoldedName.end() ? append(name) : *found->second;
}

void HpiDraft::addFile(const VirtualPath& path, const File& file) {
    const auto components = path.components();
    if (components.empty() || components.size() > kMaxHpiNesting + 1 || !path.isPlain())
        throw std::runtime_error("HPI path not writable: " + std::string(path.text()));

    Directory* directory = &root;
    for (std::size_t i = 0; i + 1 < components.size(); ++i)
        directory = &directory->subdirectory(components[i]);
    directory->children.push_back({std::string(components.back()), file});
}

void appendHpiChunks(ByteWriter& out, ByteView content, HpiMethod method) {
    const std::size_t chunkCount = hpiChunkCount(content.size());
    const std::size_t table = out.position();
    out.zeros(chunkCount * 4);
    for (std::size_t i = 0; i < chunkCount; ++i) {
        const ByteView rest = content.subspan(i * kHpiChunkSize);
        const Bytes chunk =
            encodeHpiChunk(rest.first(std::min(rest.size(), kHpiChunkSize)), method);
        out.patchU32(table + 4 * i, static_cast<std::uint32_t>(chunk.size()));
        out.bytes(chunk);
    }
}

std::uint32_t checkedHpiSize(std::uint64_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw std::runtime_error("HPI archive too large");
    return static_cast<std::uint32_t>(size);
}

Bytes layOutHpi(const HpiDraft& draft, std::uint32_t version, std::uint64_t expectedSize) {
    return LayOut(draft).write(version, expectedSize);
}

}  // namespace orb::io
