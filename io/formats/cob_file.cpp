#include "io/formats/cob_file.h"

#include <algorithm>
#include <stdexcept>

#include "io/ascii.h"
#include "io/formats/name_reader.h"

// Little-endian 32-bit words; offsets count from the start of the file.
//
//   header                                        blocks, in the order the writer lays them out
//    0  version                                   code words
//    4  script count                              entry point of each script, a word index
//    8  piece count                               name offset of each script
//   12  code length in words                      name offset of each piece
//   16  static variable count                     names, each ended by a NUL
//   20  0
//   24  offset of the entry points
//   28  offset of the script name offsets
//   32  offset of the piece name offsets
//   36  offset of the code
//   40  offset of the first name (not read)

namespace orb::io {
namespace {

constexpr std::size_t kHeaderSize = 44;
constexpr std::size_t kWordSize = 4;
constexpr std::uint32_t kWrittenVersion = 4;
/// Script and piece names together; a hundred scripts need some two thousand. Reports repeat a name
/// many times, so names that share one long text must stay small.
constexpr std::size_t kMaxNameBytes = std::size_t{1} << 20;
constexpr const char* kOutOfBounds = "COB read out of bounds";

/// A copy of `file` that stands on an array of words, all of which lie in the file.
ByteCursor wordsAt(const ByteCursor& file, std::uint32_t offset, std::uint32_t count) {
    ByteCursor cursor = file;
    if (count == 0) return cursor;  // offsets of empty arrays may be anything
    cursor.requireArray(offset, count, kWordSize);
    cursor.seek(offset);
    return cursor;
}

}  // namespace

int CobFile::findScript(std::string_view name) const {
    const auto found = std::find_if(scripts.begin(), scripts.end(), [&](const Script& script) {
        return equalsIgnoringCase(script.name, name);
    });
    return found == scripts.end() ? -1 : static_cast<int>(found - scripts.begin());
}

std::vector<std::string> scriptNames(const CobFile& cob) {
    std::vector<std::string> names;
    names.reserve(cob.scripts.size());
    for (const CobFile::Script& script : cob.scripts) names.push_back(script.name);
    return names;
}

CobFile parseCob(ByteView bytes) {
    if (bytes.size() < kHeaderSize) throw std::runtime_error("COB data too small");
    ByteCursor header(bytes, kOutOfBounds);
    CobFile cob;
    cob.version = header.u32();
    const std::uint32_t scriptCount = header.u32();
    const std::uint32_t pieceCount = header.u32();
    const std::uint32_t codeLength = header.u32();
    cob.staticVarCount = header.u32();
    header.skip(kWordSize);
    ByteCursor entries = wordsAt(header, header.u32(), scriptCount);
    ByteCursor scriptNames = wordsAt(header, header.u32(), scriptCount);
    ByteCursor pieceNames = wordsAt(header, header.u32(), pieceCount);
    ByteCursor code = wordsAt(header, header.u32(), codeLength);

    NameReader names(header, kMaxNameBytes);
    cob.scripts.reserve(scriptCount);
    for (std::uint32_t i = 0; i < scriptCount; ++i)
        cob.scripts.push_back({names.read(scriptNames.u32()), entries.u32()});
    cob.pieces.reserve(pieceCount);
    for (std::uint32_t i = 0; i < pieceCount; ++i)
        cob.pieces.push_back(names.read(pieceNames.u32()));
    cob.code.reserve(codeLength);
    for (std::uint32_t i = 0; i < codeLength; ++i) cob.code.push_back(code.u32());
    return cob;
}

Bytes writeCob(const CobFile& cob) {
    const auto word = [](std::size_t value) { return static_cast<std::uint32_t>(value); };
    const std::size_t entries = kHeaderSize + cob.code.size() * kWordSize;
    const std::size_t scriptNames = entries + cob.scripts.size() * kWordSize;
    const std::size_t pieceNames = scriptNames + cob.scripts.size() * kWordSize;
    const std::size_t names = pieceNames + cob.pieces.size() * kWordSize;

    ByteWriter out;
    out.u32(kWrittenVersion);
    out.u32(word(cob.scripts.size()));
    out.u32(word(cob.pieces.size()));
    out.u32(word(cob.code.size()));
    out.u32(cob.staticVarCount);
    out.u32(0);
    for (const std::size_t offset : {entries, scriptNames, pieceNames, kHeaderSize, names})
        out.u32(word(offset));
    for (const std::uint32_t codeWord : cob.code) out.u32(codeWord);
    for (const CobFile::Script& script : cob.scripts) out.u32(script.entry);

    std::size_t nameOffset = names;
    const auto placeName = [&](const std::string& name) {
        out.u32(word(nameOffset));
        nameOffset += name.size() + 1;
    };
    for (const CobFile::Script& script : cob.scripts) placeName(script.name);
    for (const std::string& piece : cob.pieces) placeName(piece);
    for (const CobFile::Script& script : cob.scripts) out.cString(script.name);
    for (const std::string& piece : cob.pieces) out.cString(piece);
    return out.take();
}

}  // namespace orb::io
