#include "io/archive/hpi_directory.h"

#include <algorithm>
#include <functional>

#include "io/archive/hpi_format.h"
#include "io/ascii.h"
#include "io/virtual_path.h"

namespace orb::io {
namespace {

class DirectoryParser {
public:
    DirectoryParser(ByteView block, std::uint32_t blockStart)
        : block_(block, "HPI directory too small"),
          blockStart_(blockStart),
          entriesLeft_(block.size() / kHpiEntrySize) {}

    HpiDirectory parse() {
        HpiDirectory root;
        pending_.push_back({&root.entries, blockStart_, 0});
        // Level by level, so that a directory that leads back to an ancestor spends the allowance
        // only after everything above it has been read.
        for (std::size_t i = 0; i < pending_.size(); ++i) parseDirectory(Pending(pending_[i]));
        return root;
    }

private:
    /// A directory whose record is still to be read.
    struct Pending {
        HpiEntries* entries;
        std::uint32_t recordOffset;
        int depth;
    };

    void parseDirectory(const Pending& directory) {
        const std::size_t record = indexOf(directory.recordOffset);
        if (!block_.holds(record, kHpiDirectoryRecordSize)) return;
        block_.seek(record);
        const std::uint32_t announced = block_.u32();
        const std::size_t list = indexOf(block_.u32());
        if (!block_.holds(list, 0)) return;
        const std::size_t count = std::min(
            {std::size_t{announced}, (block_.size() - list) / kHpiEntrySize, entriesLeft_});
        entriesLeft_ -= count;
        directory.entries->reserve(count);  // the pointers in pending_ rely on it
        for (std::size_t i = 0; i < count; ++i) parseEntry(directory, list + i * kHpiEntrySize);
    }

    void parseEntry(const Pending& directory, std::size_t position) {
        block_.seek(position);
        const std::uint32_t nameOffset = block_.u32();
        const std::uint32_t recordOffset = block_.u32();
        if (block_.u8() == 0) {
            const std::size_t record = indexOf(recordOffset);
            if (!block_.holds(record, kHpiFileRecordSize)) return;
            block_.seek(record);
            HpiFileEntry file;
            file.dataOffset = block_.u32();
            file.fileSize = block_.u32();
            file.compressionFlag = block_.u8();
            directory.entries->push_back({takeName(nameOffset), file});
            return;
        }
        directory.entries->push_back({takeName(nameOffset), HpiEntries{}});
        if (directory.depth == kMaxHpiNesting) return;
        pending_.push_back({&std::get<HpiEntries>(directory.entries->back().content), recordOffset,
                            directory.depth + 1});
    }

    /// The name at an offset; looks no further than the allowance of name bytes reaches.
    std::string takeName(std::uint32_t offset) {
        const std::size_t begin = indexOf(offset);
        if (!block_.holds(begin, 0)) return {};
        const std::size_t rest = block_.size() - begin;
        const ByteView searched = block_.view(begin, std::min(rest, nameBytesLeft_ + 1));
        const auto length = static_cast<std::size_t>(
            std::find(searched.begin(), searched.end(), std::uint8_t{0}) - searched.begin());
        if (length > nameBytesLeft_) {
            nameBytesLeft_ = 0;
            return {};
        }
        nameBytesLeft_ -= length;
        return {searched.begin(), searched.begin() + static_cast<std::ptrdiff_t>(length)};
    }

    /// An offset below the block wraps to an index far behind it.
    std::size_t indexOf(std::uint32_t offset) const { return offset - blockStart_; }

    ByteCursor block_;
    std::uint32_t blockStart_;
    std::size_t entriesLeft_;
    std::size_t nameBytesLeft_ = kMaxHpiNameBytes;
    std::vector<Pending> pending_;
};

}  // namespace

HpiDirectory parseHpiDirectory(ByteView block, std::uint32_t blockStart) {
    return DirectoryParser(block, blockStart).parse();
}

HpiEntryIndex::HpiEntryIndex(const HpiDirectory& root) {
    std::vector<const HpiEntries*> directories{&root.entries};
    for (std::size_t i = 0; i < directories.size(); ++i) {
        const HpiEntries& entries = *directories[i];
        for (const HpiEntry& entry : entries) {
            const HpiEntries* const children = entry.directory();
            if (children) directories.push_back(children);
            if (isPlainComponent(entry.name))
                entries_.try_emplace({&entries, children != nullptr, entry.name}, &entry);
        }
    }
}

const HpiEntry* HpiEntryIndex::find(const Key& key) const {
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : found->second;
}

bool HpiEntryIndex::Key::operator==(const Key& other) const {
    return parent == other.parent && isDirectory == other.isDirectory &&
           equalsIgnoringCase(name, other.name);
}

std::size_t HpiEntryIndex::Hash::operator()(const Key& key) const {
    return IgnoringCaseHash()(key.name) ^ std::hash<const void*>()(key.parent) ^
           (key.isDirectory ? 1 : 0);
}

}  // namespace orb::io
