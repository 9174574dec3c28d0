#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_directory.h"
#include "io/byte_cursor.h"

namespace orb::io {

/// An archive file held open for reading: for many files of one archive in a row. Not for use by
/// several threads at once. Every failed read throws std::runtime_error "HPI read error at offset
/// <decimal>".
class HpiReader {
public:
    /// Throws std::runtime_error "Cannot open HPI file: <path>"; anything but a regular file (whose
    /// opening might block) counts as one that cannot be opened.
    HpiReader(const std::filesystem::path& path, std::uint8_t readKey);

    /// The archive's length in bytes.
    std::uint64_t length() const { return length_; }

    /// Bytes as they stand in the file, without removing the scrambling by position; false when the
    /// file is shorter.
    bool readRaw(std::uint64_t offset, std::span<std::uint8_t> destination);

    /// `size` bytes at `offset`, unscrambled. The size is compared with the file's length before
    /// anything is allocated.
    Bytes readAt(std::uint64_t offset, std::uint64_t size);

    /// The decoded content of a file, exactly `fileSize` bytes: longer data is cut, shorter data is
    /// padded with zeros. Of a larger one only the first `maxBytes`. Also throws what
    /// HpiChunkDecoder::append throws.
    Bytes readFile(const HpiFileEntry& file,
                   std::uint64_t maxBytes = std::numeric_limits<std::uint64_t>::max());

    /// More bytes than all files of the archive together decode to, unless entries share their
    /// data.
    std::uint64_t maxDecodedBytes() const;

    /// The stored form of a file in chunks, size table included, to be copied into another archive.
    /// Not for a file stored as is.
    Bytes readBlob(const HpiFileEntry& file);

private:
    /// Where the chunks of one file lie.
    struct ChunkTable {
        std::vector<std::uint32_t> sizes;
        std::uint64_t firstChunk = 0;
        std::uint64_t storedBytes = 0;
    };
    /// Chunks in a row that are read together.
    struct Batch {
        std::size_t chunkCount = 0;
        std::uint64_t byteCount = 0;
    };

    ChunkTable readChunkTable(const HpiFileEntry& file);
    Bytes readChunks(const HpiFileEntry& file, std::uint64_t wanted);
    Batch nextBatch(std::span<const std::uint32_t> chunkSizes, std::uint64_t offset) const;
    std::span<std::uint8_t> batchAt(std::uint64_t offset, std::uint64_t size);
    void readInto(std::uint64_t offset, std::span<std::uint8_t> destination);
    bool holds(std::uint64_t offset, std::uint64_t size) const {
        return offset <= length_ && size <= length_ - offset;
    }

    std::filebuf file_;
    std::uint64_t length_ = 0;
    /// Where the next read would start without seeking.
    std::uint64_t position_ = 0;
    std::uint8_t readKey_;
    HpiChunkDecoder decoder_;
    std::unique_ptr<std::uint8_t[]> batch_;
    std::uint64_t batchCapacity_ = 0;
};

}  // namespace orb::io
