#include "fuzzing.h"
#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_format.h"

// A chunk of an archive file. One byte says whether the rest is a chunk as it stands, or a payload
// that gets a header with the right sum: else hardly any input would come as far as decoding.

namespace orb::fuzz {
namespace {

io::Bytes chunkAround(Choices& choices) {
    const auto method = static_cast<std::uint8_t>(choices.below(4));
    const bool isScrambled = choices.flag();
    const std::uint32_t decodedLength = choices.word() % (2 * io::kHpiChunkSize);
    const io::ByteView payload = choices.rest();
    std::uint32_t sum = 0;
    for (const std::uint8_t byte : payload) sum += byte;

    io::ByteWriter chunk;
    chunk.u32(io::kHpiChunkMagic);
    chunk.u8(2);
    chunk.u8(method);
    chunk.u8(isScrambled ? 1 : 0);
    chunk.u32(static_cast<std::uint32_t>(payload.size()));
    chunk.u32(decodedLength);
    chunk.u32(sum);
    chunk.bytes(payload);
    return chunk.take();
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    const bool isWhole = choices.flag();
    io::Bytes chunk =
        isWhole ? io::Bytes(choices.rest().begin(), choices.rest().end()) : chunkAround(choices);
    io::HpiChunkDecoder decoder;
    io::Bytes decoded = {1, 2, 3};
    if (accepts([&] { decoder.append(chunk, decoded); }))
        require(decoded.size() <= 3 + std::max(io::kHpiChunkSize, chunk.size()) &&
                    std::equal(decoded.begin(), decoded.begin() + 3, io::Bytes{1, 2, 3}.begin()),
                "a chunk is appended within its limit");

    const io::ByteView content = input.first(std::min(input.size(), io::kHpiChunkSize));
    io::Bytes encoded = io::encodeHpiChunk(content);
    io::Bytes again;
    decoder.append(encoded, again);
    require(std::ranges::equal(again, content), "a decoder reads what is written, after anything");
}

}  // namespace orb::fuzz
