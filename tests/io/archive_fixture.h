#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "io/archive/hpi_archive.h"
#include "io/byte_cursor.h"
#include "tests/test_folder.h"

namespace orb::io {

inline Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

using orb::TestFolder;

/// Places the parts of a directory block one by one, at whatever offsets a test asks for. The
/// root's record comes first.
class BlockBuilder {
public:
    struct Entry {
        std::uint32_t name;
        std::uint32_t record;
        bool isDirectory;
    };
    static constexpr std::uint32_t kStart = 20;

    BlockBuilder() { block_.zeros(8); }

    std::uint32_t next() const { return kStart + static_cast<std::uint32_t>(block_.position()); }
    std::uint32_t name(std::string_view text) {
        const std::uint32_t offset = next();
        block_.cString(text);
        return offset;
    }
    std::uint32_t file(std::uint32_t dataOffset = 0, std::uint32_t size = 0) {
        const std::uint32_t offset = next();
        block_.u32(dataOffset);
        block_.u32(size);
        block_.u8(1);
        return offset;
    }
    std::uint32_t list(const std::vector<Entry>& entries) {
        const std::uint32_t offset = next();
        for (const Entry& entry : entries) {
            block_.u32(entry.name);
            block_.u32(entry.record);
            block_.u8(entry.isDirectory ? 1 : 0);
        }
        return offset;
    }
    std::uint32_t directory(std::uint32_t count, std::uint32_t list) {
        const std::uint32_t offset = next();
        block_.u32(count);
        block_.u32(list);
        return offset;
    }
    void root(std::uint32_t count, std::uint32_t list) {
        block_.patchU32(0, count);
        block_.patchU32(4, list);
    }
    ByteView block() const { return block_.view(); }

    Bytes archive(const Bytes& data = {}) const {
        ByteWriter out;
        out.text("HAPI");
        for (const std::uint32_t field : {0x10000u, next(), 0u, kStart}) out.u32(field);
        out.bytes(block());
        out.bytes(data);
        return out.take();
    }

private:
    ByteWriter block_;
};

/// Where the data of `oneFileArchive` begin.
inline constexpr std::uint32_t kOneFileData = 48;

/// An archive that holds the single file "f" with these data.
inline Bytes oneFileArchive(std::uint32_t announcedSize, const Bytes& data) {
    BlockBuilder block;
    block.list({{37, 39, false}});
    block.name("f");
    block.file(kOneFileData, announcedSize);
    block.root(1, 28);
    return block.archive(data);
}

inline Bytes patched(Bytes bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> 8 * i);
    return bytes;
}

/// The text that opening the archive and reading all its files is refused with; "" when it reads.
inline std::string archiveRefusal(const std::filesystem::path& path) {
    try {
        const HpiArchive archive(path);
        std::vector<const HpiEntries*> directories{&archive.root().entries};
        for (std::size_t i = 0; i < directories.size(); ++i)
            for (const HpiEntry& entry : *directories[i])
                if (const HpiEntries* children = entry.directory())
                    directories.push_back(children);
                else
                    archive.readFile(entry);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

}  // namespace orb::io
