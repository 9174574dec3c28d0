#include "io/archive/hpi_writer.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_format.h"
#include "io/archive/path_components.h"
#include "io/ascii.h"

namespace orb::io {
namespace {

/// Ends every archive; no reader looks at it.
constexpr std::string_view kBanner =
    "This archive was packed by ORB Unit Editor. Its files are chunked; end of data. Good hunting!";
static_assert(kBanner.size() == 93);

struct Node;

struct Child {
    std::string name;
    /// Null for a sub-directory.
    const HpiInputFile* file = nullptr;
    std::unique_ptr<Node> directory;
};

struct Node {
    std::vector<Child> children;
    std::unordered_map<std::string, Node*> directoriesByFoldedName;

    Node& subdirectory(std::string_view name) {
        Node*& node = directoriesByFoldedName[lowerCased(name)];
        if (!node) {
            children.push_back({std::string(name), nullptr, std::make_unique<Node>()});
            node = children.back().directory.get();
        }
        return *node;
    }
};

void addFile(Node& root, const HpiInputFile& file) {
    std::vector<std::string_view> components;
    std::string_view rest = file.path;
    for (auto component = takePathComponent(rest); !component.empty();
         component = takePathComponent(rest))
        components.push_back(component);
    if (components.empty() || components.size() > kMaxHpiNesting + 1 ||
        !std::all_of(components.begin(), components.end(), isPlainComponent))
        throw std::runtime_error("HPI path not writable: " + file.path);

    Node* directory = &root;
    for (std::size_t i = 0; i + 1 < components.size(); ++i)
        directory = &directory->subdirectory(components[i]);
    directory->children.push_back({std::string(components.back()), &file, nullptr});
}

std::uint32_t checkedU32(std::uint64_t value) {
    if (value > std::numeric_limits<std::uint32_t>::max())
        throw std::runtime_error("HPI archive too large");
    return static_cast<std::uint32_t>(value);
}

class ArchiveWriter {
public:
    Bytes write(const Node& root) {
        out_.u32(kHpiMagic);
        out_.u32(kHpiVersion);
        out_.u32(0);  // directory end
        out_.u32(0);  // header key
        out_.u32(kHpiHeaderSize);
        writeDirectory(root);
        out_.patchU32(8, position());
        for (const auto& [file, recordOffset] : registered_) {
            out_.patchU32(recordOffset, position());
            writeBlob(*file);
        }
        checkedU32(out_.position());
        out_.text(kBanner);
        return out_.take();
    }

private:
    struct Registered {
        const HpiInputFile* file;
        std::size_t recordOffset;
    };

    /// Depth first: record and entry list of the directory, then each entry's name and record.
    void writeDirectory(const Node& directory) {
        out_.u32(checkedU32(directory.children.size()));
        out_.u32(position() + 4);
        std::size_t entry = out_.position();
        for (const Child& child : directory.children) {
            out_.zeros(8);  // offsets of name and record
            out_.u8(child.file ? 0 : 1);
        }
        for (const Child& child : directory.children) {
            out_.patchU32(entry, position());
            out_.cString(child.name);
            out_.patchU32(entry + 4, position());
            if (child.file)
                writeFileRecord(*child.file);
            else
                writeDirectory(*child.directory);
            entry += kHpiEntrySize;
        }
    }

    void writeFileRecord(const HpiInputFile& file) {
        registered_.push_back({&file, out_.position()});
        out_.u32(0);  // data offset
        out_.u32(file.decodedSize.value_or(checkedU32(file.content.size())));
        out_.u8(1);
    }

    void writeBlob(const HpiInputFile& file) {
        if (file.decodedSize) {
            out_.bytes(file.content);
            return;
        }
        const std::size_t chunkCount = hpiChunkCount(file.content.size());
        const std::size_t table = out_.position();
        out_.zeros(chunkCount * 4);
        for (std::size_t i = 0; i < chunkCount; ++i) {
            const ByteView rest = ByteView(file.content).subspan(i * kHpiChunkSize);
            const Bytes chunk = encodeHpiChunk(rest.first(std::min(rest.size(), kHpiChunkSize)));
            out_.patchU32(table + 4 * i, static_cast<std::uint32_t>(chunk.size()));
            out_.bytes(chunk);
        }
    }

    std::uint32_t position() const { return checkedU32(out_.position()); }

    ByteWriter out_;
    std::vector<Registered> registered_;
};

}  // namespace

Bytes writeHpi(std::span<const HpiInputFile> files) {
    Node root;
    for (const HpiInputFile& file : files) addFile(root, file);
    return ArchiveWriter().write(root);
}

}  // namespace orb::io
