// Mounts a game of 3,000 units in 40 archives and loads units of it. Baselines of the same run:
// mounting against plainly reading and inflating the same bytes, loading a unit against plainly
// reading and inflating its three files, and against loading from a game of 30 units in one
// archive.

#include <deque>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>
#include <zlib.h>

#include "bench/large_data_root.h"
#include "bench/timing.h"
#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_format.h"
#include "server/logger.h"
#include "session/unit_view_session.h"

namespace {

namespace fs = std::filesystem;
using namespace orb;
using io::Bytes;

constexpr std::size_t kLoadedUnits = 200;

std::uint32_t word(const Bytes& bytes, std::size_t at) {
    return io::ByteCursor(io::ByteView(bytes).subspan(at), "word outside its buffer").u32();
}

/// Where a file's chunks lie in its archive.
struct PlainFile {
    std::uint64_t offset = 0;
    std::size_t size = 0;
};

/// What mounting reads of one archive: its directory and these files.
struct PlainArchive {
    fs::path path;
    std::vector<PlainFile> files;
};

/// Reads and inflates one file as simply as the format allows.
std::size_t inflatePlainly(std::ifstream& archive, const PlainFile& file) {
    static Bytes stored;
    static Bytes output(1 << 20);
    const std::size_t chunks = io::hpiChunkCount(file.size);
    Bytes table(4 * chunks);
    archive.seekg(static_cast<std::streamoff>(file.offset));
    archive.read(reinterpret_cast<char*>(table.data()), static_cast<std::streamsize>(table.size()));
    std::size_t total = 0;
    for (std::size_t i = 0; i < chunks; ++i) {
        stored.resize(word(table, 4 * i));
        archive.read(reinterpret_cast<char*>(stored.data()),
                     static_cast<std::streamsize>(stored.size()));
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

std::size_t readPlainly(const std::vector<PlainArchive>& archives) {
    std::size_t total = 0;
    for (const PlainArchive& plain : archives) {
        std::ifstream archive(plain.path, std::ios::binary);
        Bytes header(io::kHpiHeaderSize);
        archive.read(reinterpret_cast<char*>(header.data()), io::kHpiHeaderSize);
        Bytes directory(word(header, 8) - word(header, 16));
        archive.read(reinterpret_cast<char*>(directory.data()),
                     static_cast<std::streamsize>(directory.size()));
        for (const PlainFile& file : plain.files) total += inflatePlainly(archive, file);
    }
    return total;
}

void addFiles(PlainArchive& plain, const io::HpiArchive& archive, std::string_view directory,
              std::size_t& bytes) {
    const auto* const entries = archive.findDirectory(directory);
    if (!entries) return;
    for (const io::HpiEntry& entry : *entries) {
        const io::HpiFileEntry* const file = entry.file();
        if (!file) continue;
        plain.files.push_back({file->dataOffset, file->fileSize});
        bytes += file->fileSize;
    }
}

/// Everything that mounting reads: unit definitions, weapons, the tables of gamedata, the palette.
std::vector<PlainArchive> listMountReads(const fs::path& game, std::size_t& bytes) {
    std::vector<PlainArchive> archives;
    for (const auto& item : fs::directory_iterator(game)) {
        if (item.path().extension() != ".hpi") continue;
        const io::HpiArchive archive(item.path());
        PlainArchive& plain = archives.emplace_back();
        plain.path = item.path();
        for (const char* directory : {"units", "weapons", "gamedata", "palettes"})
            addFiles(plain, archive, directory, bytes);
    }
    return archives;
}

/// The definition, model and script of a unit.
std::vector<PlainArchive> listUnitReads(const fs::path& game, const std::string& unit) {
    std::vector<PlainArchive> archives;
    for (const auto& item : fs::directory_iterator(game)) {
        if (item.path().extension() != ".hpi") continue;
        const io::HpiArchive archive(item.path());
        PlainArchive plain{item.path(), {}};
        for (const auto& path :
             {"units/" + unit + ".fbi", "objects3d/" + unit + ".3do", "scripts/" + unit + ".cob"})
            if (const auto* entry = archive.findFile(path))
                plain.files.push_back({entry->file()->dataOffset, entry->file()->fileSize});
        if (!plain.files.empty()) archives.push_back(std::move(plain));
    }
    return archives;
}

void loadUnits(unitview::UnitViewSession& session, std::size_t unitCount) {
    for (std::size_t i = 0; i < kLoadedUnits; ++i) {
        const std::size_t unit = i * 7919 % unitCount;
        if (!session.loadUnit(fmt::format("UNIT{:04}", unit)).cob)
            bench::fail("a unit lost its script");
    }
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

}  // namespace

int main() {
    Logger quiet;
    quiet.setEcho(false);
    setCurrentLogger(&quiet);

    const fs::path folder = fs::temp_directory_path() / "orb_bench_data";
    const auto large = bench::makeLargeDataRoot(folder / "large");
    const auto small = bench::makeLargeDataRoot(folder / "small", {30, 1, 1'000'000});
    std::size_t mountBytes = 0;
    const auto mountReads = listMountReads(large.game, mountBytes);

    const double memoryBefore = peakMegabytes();
    unitview::UnitViewSession session;
    if (session.setDataRoots({large.game, {}, {}}).catalogue.roster().size() < 3000)
        bench::fail("the catalogue is short of units");
    const double mountMemory = peakMegabytes() - memoryBefore;
    if (readPlainly(mountReads) != mountBytes) bench::fail("the plain reader reads something else");

    std::deque<unitview::UnitViewSession> fresh;
    const auto mount =
        bench::bestSeconds({[&] {
                                fresh.emplace_back().setDataRoots({large.game, {}, {}});
                            },
                            [&] {
                                session.setDataRoots({large.game, {}, {}});
                            },
                            [&] { readPlainly(mountReads); }});
    bench::printRow("mount 3000 units, 40 archives / plain read", mount[0] * 1e3, mount[2] * 1e3,
                    "ms", mount[0] / mount[2]);
    bench::printRow("  in place of roots mounted before", mount[1] * 1e3, mount[2] * 1e3, "ms",
                    mount[1] / mount[2]);
    bench::printRow("  memory while mounting / bytes read", mountMemory,
                    static_cast<double>(mountBytes) / 1e6, "MB",
                    mountMemory / (static_cast<double>(mountBytes) / 1e6));

    unitview::UnitViewSession smallSession;
    smallSession.setDataRoots({small.game, {}, {}});
    std::vector<std::vector<PlainArchive>> unitReads;
    for (std::size_t i = 0; i < kLoadedUnits; ++i)
        unitReads.push_back(listUnitReads(large.game, fmt::format("UNIT{:04}", i * 7919 % 3000)));
    const auto load = bench::bestSeconds({[&] { loadUnits(session, 3000); },
                                          [&] {
                                              for (const auto& reads : unitReads)
                                                  readPlainly(reads);
                                          },
                                          [&] { loadUnits(smallSession, 30); }});
    const double perUnit = 1e3 / kLoadedUnits;
    bench::printRow("load a unit of 3000 / plain read of its files", load[0] * perUnit,
                    load[1] * perUnit, "ms", load[0] / load[1]);
    bench::printRow("load a unit of 3000 / load a unit of 30", load[0] * perUnit, load[2] * perUnit,
                    "ms", load[0] / load[2]);
    return 0;
}
