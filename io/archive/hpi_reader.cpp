#include "io/archive/hpi_reader.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>

#include "io/archive/hpi_format.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"

namespace orb::io {
namespace {

/// Chunks are read in batches of about this many bytes, which stay in the processor's cache until
/// they are decoded.
constexpr std::uint64_t kBatchBytes = 256 << 10;

/// A result is reserved at its announced size only as far as this many bytes for each stored one.
constexpr std::uint64_t kReservedPerStoredByte = 16;

/// Zeros are appended up to the announced size only within what the stored bytes could have decoded
/// to (zlib shrinks by 1032 at most), with a margin for files that are short for another reason.
constexpr std::uint64_t kMaxDecodedPerStoredByte = 1032;
constexpr std::uint64_t kPaddingMargin = 64 << 20;

std::runtime_error readError(std::uint64_t offset) {
    return std::runtime_error("HPI read error at offset " + std::to_string(offset));
}

}  // namespace

HpiReader::HpiReader(const std::filesystem::path& path, std::uint8_t readKey) : readKey_(readKey) {
    std::error_code ignored;
    errno = 0;
    const bool opened = std::filesystem::is_regular_file(path, ignored) &&
                        file_.open(path, std::ios::in | std::ios::binary) != nullptr;
    const std::streamoff length = opened ? std::streamoff{file_.pubseekoff(0, std::ios::end)} : -1;
    if (length < 0) {
        throwIfOutOfMemory();
        throw std::runtime_error("Cannot open HPI file: " + textFromPath(path));
    }
    position_ = length_ = static_cast<std::uint64_t>(length);
}

bool HpiReader::readRaw(std::uint64_t offset, std::span<std::uint8_t> destination) {
    if (!holds(offset, destination.size())) return false;
    const auto size = static_cast<std::streamsize>(destination.size());
    const auto start = static_cast<std::streamoff>(offset);
    if (offset != position_ && std::streamoff{file_.pubseekpos(start, std::ios::in)} != start)
        return false;
    // A failed read leaves the position unknown; the next one must seek.
    position_ = std::numeric_limits<std::uint64_t>::max();
    try {
        if (file_.sgetn(reinterpret_cast<char*>(destination.data()), size) != size) return false;
    } catch (const std::ios_base::failure&) {  // how a buffer reports that the disk failed
        return false;
    }
    position_ = offset + destination.size();
    return true;
}

void HpiReader::readInto(std::uint64_t offset, std::span<std::uint8_t> destination) {
    if (!readRaw(offset, destination)) throw readError(offset);
    if (readKey_ != 0) scrambleByPosition(destination, offset, readKey_);
}

Bytes HpiReader::readAt(std::uint64_t offset, std::uint64_t size) {
    if (!holds(offset, size)) throw readError(offset);
    Bytes result(static_cast<std::size_t>(size));
    readInto(offset, result);
    return result;
}

Bytes HpiReader::readFile(const HpiFileEntry& file, std::uint64_t maxBytes) {
    const std::uint64_t wanted = std::min<std::uint64_t>(file.fileSize, maxBytes);
    if (wanted == 0) return {};
    if (file.compressionFlag == 0) return readAt(file.dataOffset, wanted);
    return readChunks(file, wanted);
}

std::uint64_t HpiReader::maxDecodedBytes() const {
    return kPaddingMargin + kMaxDecodedPerStoredByte * length_;
}

Bytes HpiReader::readBlob(const HpiFileEntry& file) {
    const ChunkTable table = readChunkTable(file);
    return readAt(file.dataOffset, table.firstChunk - file.dataOffset + table.storedBytes);
}

HpiReader::ChunkTable HpiReader::readChunkTable(const HpiFileEntry& file) {
    const std::size_t count = hpiChunkCount(file.fileSize);
    const Bytes bytes = readAt(file.dataOffset, std::uint64_t{4} * count);
    ChunkTable table;
    table.firstChunk = file.dataOffset + std::uint64_t{bytes.size()};
    table.sizes.reserve(count);
    for (ByteCursor sizes(bytes, "HPI chunk table too small"); sizes.remaining() > 0;) {
        table.sizes.push_back(sizes.u32());
        table.storedBytes += table.sizes.back();
    }
    return table;
}

Bytes HpiReader::readChunks(const HpiFileEntry& file, std::uint64_t wanted) {
    const ChunkTable table = readChunkTable(file);
    const std::uint64_t available = std::min(table.storedBytes, length_ - table.firstChunk);
    Bytes result;
    result.reserve(static_cast<std::size_t>(std::min(wanted, kReservedPerStoredByte * available)));

    std::uint64_t offset = table.firstChunk;
    for (auto sizes = std::span(table.sizes).first(hpiChunkCount(wanted)); !sizes.empty();) {
        const Batch batch = nextBatch(sizes, offset);
        std::span<std::uint8_t> chunks = batchAt(offset, batch.byteCount);
        for (const std::uint32_t size : sizes.first(batch.chunkCount)) {
            decoder_.append(chunks.first(size), result);
            if (result.size() > wanted) result.resize(static_cast<std::size_t>(wanted));
            chunks = chunks.subspan(size);
        }
        sizes = sizes.subspan(batch.chunkCount);
        offset += batch.byteCount;
    }
    if (result.size() < wanted &&
        wanted > kPaddingMargin + kMaxDecodedPerStoredByte * table.storedBytes)
        throw readError(file.dataOffset);
    result.resize(static_cast<std::size_t>(wanted));
    return result;
}

/// The first chunk is taken unseen: if it lies outside the file, the read error names its offset.
/// More follow while they fit in the file and in a batch.
HpiReader::Batch HpiReader::nextBatch(std::span<const std::uint32_t> chunkSizes,
                                      std::uint64_t offset) const {
    Batch batch{1, chunkSizes.front()};
    for (const std::uint32_t size : chunkSizes.subspan(1)) {
        const std::uint64_t grown = batch.byteCount + size;
        if (grown > kBatchBytes || !holds(offset, grown)) break;
        batch = {batch.chunkCount + 1, grown};
    }
    return batch;
}

/// Reads into the reader's own buffer, which grows to the largest batch met.
std::span<std::uint8_t> HpiReader::batchAt(std::uint64_t offset, std::uint64_t size) {
    if (!holds(offset, size)) throw readError(offset);
    if (size > batchCapacity_) {
        batch_ = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(size));
        batchCapacity_ = size;
    }
    const std::span<std::uint8_t> batch(batch_.get(), static_cast<std::size_t>(size));
    readInto(offset, batch);
    return batch;
}

}  // namespace orb::io
