#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

struct HpiEntry;
/// A directory's entries in the order of the archive's own list.
using HpiEntries = std::vector<HpiEntry>;

/// Where a file's data stands in the archive.
struct HpiFileEntry {
    std::uint32_t dataOffset = 0;
    /// Decoded length in bytes, as the archive announces it.
    std::uint32_t fileSize = 0;
    /// 0: stored as is; any other value: stored in chunks.
    std::uint8_t compressionFlag = 0;
};

/// A named file or a named sub-directory with its whole subtree.
struct HpiEntry {
    /// As stored, case kept.
    std::string name;
    std::variant<HpiFileEntry, HpiEntries> content;

    /// The file, or null for a sub-directory.
    const HpiFileEntry* file() const { return std::get_if<HpiFileEntry>(&content); }
    /// The sub-directory's entries, or null for a file.
    const HpiEntries* directory() const { return std::get_if<HpiEntries>(&content); }
};

struct HpiDirectory {
    /// Empty for the root.
    std::string name;
    HpiEntries entries;
};

/// The names of one archive may take this much memory together; beyond it they read as empty. Many
/// entries can point at one long name, so the archive's own size is no bound.
inline constexpr std::size_t kMaxHpiNameBytes = 64 << 20;

/// Builds the tree of a directory block whose first byte stands at `blockStart` in the archive and
/// is the root's record. Never fails: a record outside the block makes a directory empty, ends a
/// list early or drops a file. Since sub-directories may be shared or point at an ancestor, at most
/// as many entries are read as the block has room for, the shallow ones first.
HpiDirectory parseHpiDirectory(ByteView block, std::uint32_t blockStart);

/// Finds entries of one tree by directory and name. Of several entries with the same name and kind
/// the first in the directory's order is found. The tree must stay in place.
class HpiEntryIndex {
public:
    explicit HpiEntryIndex(const HpiDirectory& root);

    /// The entry of that kind with this name in any case, or null. A name that cannot stand in a
    /// path ("..", or one with a separator in it) finds nothing.
    const HpiEntry* findFile(const HpiEntries& directory, std::string_view name) const {
        return find({&directory, false, name});
    }
    const HpiEntry* findDirectory(const HpiEntries& directory, std::string_view name) const {
        return find({&directory, true, name});
    }

private:
    struct Key {
        const HpiEntries* parent;
        bool isDirectory;
        std::string_view name;

        bool operator==(const Key& other) const;
    };
    struct Hash {
        std::size_t operator()(const Key& key) const;
    };

    const HpiEntry* find(const Key& key) const;

    std::unordered_map<Key, const HpiEntry*, Hash> entries_;
};

}  // namespace orb::io
