#include "bench/plain_read.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <span>

#include <fmt/format.h>
#include <zlib.h>

#include "bench/large_data_root.h"
#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_format.h"
#include "io/ascii.h"

namespace orb::bench {
namespace {

namespace fs = std::filesystem;
using io::Bytes;

std::uint32_t word(const Bytes& bytes, std::size_t at) {
    return io::ByteCursor(io::ByteView(bytes).subspan(at), "word outside its buffer").u32();
}

void readInto(std::ifstream& in, Bytes& bytes) {
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::size_t inflatePlainly(std::ifstream& archive, const PlainArchive::File& file) {
    static Bytes stored;
    static Bytes output(1 << 20);
    Bytes table(4 * io::hpiChunkCount(file.size));
    archive.seekg(static_cast<std::streamoff>(file.offset));
    readInto(archive, table);
    std::size_t total = 0;
    for (std::size_t at = 0; at < table.size(); at += 4) {
        stored.resize(word(table, at));
        readInto(archive, stored);
        std::uint8_t* const payload = stored.data() + io::kHpiChunkHeaderSize;
        const std::size_t length = stored.size() - io::kHpiChunkHeaderSize;
        for (std::size_t k = 0; k < length; ++k)
            payload[k] = static_cast<std::uint8_t>((payload[k] - k) ^ (k & 0xFF));
        uLongf size = output.size();
        if (stored[5] == 2)
            uncompress(output.data(), &size, payload, static_cast<uLong>(length));
        else
            std::copy_n(payload, size = length, output.data());
        total += size;
    }
    return total;
}

std::vector<fs::path> archivesOf(const fs::path& game) {
    std::vector<fs::path> paths;
    for (const auto& item : fs::directory_iterator(game))
        if (item.path().extension() == ".hpi") paths.push_back(item.path());
    return paths;
}

constexpr std::array kUnitFiles = {"units/{}.fbi", "objects3d/{}.3do", "scripts/{}.cob",
                                   "unitpics/{}.pcx"};

/// What mounting reads all files of.
constexpr std::array kMountedFolders = {"units", "weapons", "gamedata", "palettes"};

std::span<const char* const> patternsOf(UnitFiles which) {
    return std::span(kUnitFiles).first(which == UnitFiles::all ? 4 : 3);
}

void addFile(PlainArchive& plain, const io::HpiEntry& entry) {
    if (const io::HpiFileEntry* const file = entry.file())
        plain.files.push_back({file->dataOffset, file->fileSize});
}

}  // namespace

PlainArchive listMountReads(const fs::path& path) {
    const io::HpiArchive archive(path);
    PlainArchive plain{path, {}};
    for (const char* directory : kMountedFolders)
        if (const auto* const entries = archive.findDirectory(directory))
            for (const io::HpiEntry& entry : *entries) addFile(plain, entry);
    return plain;
}

std::vector<PlainArchive> listMountReadsOf(const fs::path& game) {
    std::vector<PlainArchive> archives;
    for (const fs::path& path : archivesOf(game)) archives.push_back(listMountReads(path));
    return archives;
}

std::vector<PlainArchive> listUnitReads(const fs::path& game, const std::vector<std::string>& units,
                                        UnitFiles which) {
    std::vector<PlainArchive> archives;
    for (const fs::path& path : archivesOf(game)) {
        const io::HpiArchive archive(path);
        PlainArchive plain{path, {}};
        for (const std::string& unit : units)
            for (const char* pattern : patternsOf(which))
                if (const auto* entry = archive.findFile(fmt::format(fmt::runtime(pattern), unit)))
                    addFile(plain, *entry);
        if (!plain.files.empty()) archives.push_back(std::move(plain));
    }
    return archives;
}

std::size_t byteCount(const std::vector<PlainArchive>& archives) {
    std::size_t bytes = 0;
    for (const PlainArchive& archive : archives)
        for (const PlainArchive::File& file : archive.files) bytes += file.size;
    return bytes;
}

std::size_t readPlainly(const std::vector<PlainArchive>& archives) {
    std::size_t total = 0;
    for (const PlainArchive& plain : archives) {
        std::ifstream archive(plain.path, std::ios::binary);
        Bytes header(io::kHpiHeaderSize);
        readInto(archive, header);
        Bytes directory(word(header, 8) - word(header, 16));
        readInto(archive, directory);
        for (const PlainArchive::File& file : plain.files) total += inflatePlainly(archive, file);
    }
    return total;
}

std::vector<fs::path> listLooseUnitFiles(const fs::path& game, std::string_view unit,
                                         UnitFiles which) {
    std::vector<fs::path> files;
    for (const char* pattern : patternsOf(which))
        files.push_back(loosePath(game, fmt::format(fmt::runtime(pattern), unit)));
    return files;
}

std::vector<fs::path> listLooseMountFiles(const fs::path& game) {
    std::vector<fs::path> files;
    for (const char* folder : kMountedFolders)
        for (const auto& entry : fs::directory_iterator(game / io::upperCased(folder)))
            files.push_back(entry.path());
    return files;
}

std::size_t readPlainly(const std::vector<fs::path>& files) {
    std::size_t total = 0;
    for (const fs::path& path : files) {
        std::ifstream in(path, std::ios::binary | std::ios::ate);
        Bytes bytes(static_cast<std::size_t>(in.tellg()));
        in.seekg(0);
        readInto(in, bytes);
        total += bytes.size();
    }
    return total;
}

}  // namespace orb::bench
