// Reads every file of a large archive and compares the time with a bare `uncompress` loop over the
// same payloads, once with the payloads in memory and once with the loop reading them from a file
// that holds nothing else; then catalogues small files against plainly reading and inflating them.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <zlib.h>

#include "bench/figures.h"
#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_format.h"
#include "io/archive/hpi_writer.h"
#include "io/vfs/hpi_file_system.h"

namespace {

namespace fs = std::filesystem;
using orb::bench::require;
using orb::io::Bytes;
using orb::io::ByteView;

constexpr std::size_t kSmallFiles = 6000;
constexpr std::size_t kLargeFiles = 60;

/// Game-like data: half text of a small vocabulary, half pixels in runs, some of it noise.
Bytes makeContent(std::mt19937& random, std::size_t size) {
    static constexpr std::string_view kWords[] = {"unitname=",
                                                  "maxvelocity=",
                                                  "buildcostenergy=",
                                                  "corpse=",
                                                  "\t}\r\n\t",
                                                  "[UNITINFO]",
                                                  "category=ALL NOTAIR MOBILE",
                                                  "0;\r\n\t",
                                                  "1;\r\n\t",
                                                  "0.35;",
                                                  "soundcategory=",
                                                  "3do"};
    Bytes content;
    while (content.size() < size) {
        const auto dice = random();
        if (dice % 4 != 0) {
            const std::string_view word = kWords[dice / 4 % std::size(kWords)];
            content.insert(content.end(), word.begin(), word.end());
        } else if (dice % 8 == 0) {
            content.insert(content.end(), dice / 8 % 24, static_cast<std::uint8_t>(dice >> 24));
        } else {
            for (int i = 0; i < 6; ++i) content.push_back(static_cast<std::uint8_t>(random()));
        }
    }
    content.resize(size);
    return content;
}

std::vector<orb::io::HpiInputFile> makeFiles() {
    std::mt19937 random(7);
    std::vector<orb::io::HpiInputFile> files;
    for (std::size_t i = 0; i < kSmallFiles; ++i)
        files.push_back(
            {fmt::format("units/unit{}.fbi", i), makeContent(random, 500 + random() % 7500)});
    for (std::size_t i = 0; i < kLargeFiles; ++i)
        files.push_back({fmt::format("maps/map{}.tnt", i),
                         makeContent(random, (1 << 20) + random() % (4 << 20))});
    return files;
}

/// What the bare loop decodes: payloads one after another, not scrambled.
struct Payloads {
    struct Chunk {
        std::uint32_t stored;
        std::uint32_t decoded;
        bool compressed;
    };
    struct File {
        std::size_t size;
        std::vector<Chunk> chunks;
    };
    std::vector<File> files;
    Bytes bytes;
};

void addPayloads(Payloads& payloads, const Bytes& content) {
    payloads.files.push_back({content.size(), {}});
    for (std::size_t begin = 0; begin < content.size(); begin += orb::io::kHpiChunkSize) {
        const std::size_t size = std::min(content.size() - begin, orb::io::kHpiChunkSize);
        uLongf stored = compressBound(size);
        Bytes packed(stored);
        compress2(packed.data(), &stored, content.data() + begin, size, Z_DEFAULT_COMPRESSION);
        const bool compressed = stored < size;
        if (!compressed)
            packed.assign(content.begin() + static_cast<std::ptrdiff_t>(begin),
                          content.begin() + static_cast<std::ptrdiff_t>(begin + size));
        packed.resize(compressed ? stored : size);
        payloads.bytes.insert(payloads.bytes.end(), packed.begin(), packed.end());
        payloads.files.back().chunks.push_back({static_cast<std::uint32_t>(packed.size()),
                                                static_cast<std::uint32_t>(size), compressed});
    }
}

/// `next(length)` hands over the next stored bytes. Decodes into one buffer that is used again.
template <typename Next>
std::size_t bareLoop(const std::vector<Payloads::File>& files, Next next) {
    static Bytes output(8 << 20);
    std::size_t total = 0;
    for (const Payloads::File& file : files) {
        std::size_t position = 0;
        for (const Payloads::Chunk& chunk : file.chunks) {
            const std::uint8_t* const stored = next(chunk.stored);
            uLongf length = chunk.decoded;
            if (chunk.compressed)
                uncompress(output.data() + position, &length, stored, chunk.stored);
            else
                std::copy_n(stored, chunk.stored, output.data() + position);
            position += length;
        }
        total += position;
    }
    return total;
}

std::size_t bareLoopInMemory(const std::vector<Payloads::File>& files, const Bytes& bytes) {
    const std::uint8_t* position = bytes.data();
    return bareLoop(files, [&](std::size_t length) {
        const std::uint8_t* const stored = position;
        position += length;
        return stored;
    });
}

std::size_t bareLoopFromFile(const std::vector<Payloads::File>& files, const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    static Bytes stored(128 << 10);
    return bareLoop(files, [&](std::size_t length) {
        file.read(reinterpret_cast<char*>(stored.data()), static_cast<std::streamsize>(length));
        return stored.data();
    });
}

void writeFile(const fs::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "orb_archive_bench";
    fs::create_directories(folder);
    const fs::path archivePath = folder / "large.hpi";
    const fs::path payloadPath = folder / "payloads";
    const auto files = makeFiles();
    writeFile(archivePath, orb::io::writeHpi(files));
    Payloads all;
    Payloads small;
    for (const auto& file : files) addPayloads(all, file.content);
    for (std::size_t i = 0; i < kSmallFiles; ++i) addPayloads(small, files[i].content);
    writeFile(payloadPath, all.bytes);

    const orb::io::HpiFileSystem archive(archivePath);
    std::size_t total = 0;
    for (const auto& file : files) {
        require(archive.readFile(file.path) == file.content, "an archived file differs");
        total += file.content.size();
    }
    require(bareLoopInMemory(all.files, all.bytes) == total &&
                bareLoopFromFile(all.files, payloadPath) == total,
            "the bare loop decodes something else");

    const auto readEach = [&] {
        for (const auto& file : files)
            require(archive.readFile(file.path)->size() == file.content.size(), "short file");
    };
    const auto readInSession = [&] {
        auto reader = archive.archive().openReader();
        for (const auto& file : files) {
            const auto* const entry = archive.archive().findFile(file.path);
            require(reader.readFile(*entry->file()).size() == file.content.size(), "short file");
        }
    };
    std::size_t smallTotal = 0;
    const auto mountAndReadSmall = [&] {
        smallTotal = 0;
        const orb::io::HpiFileSystem mounted(archivePath);
        mounted.forEachFile("units", ".fbi", [&](auto, std::optional<Bytes> content, auto) {
            smallTotal += content.value().size();
        });
    };
    const auto timings = orb::bench::measure({readEach, readInSession, mountAndReadSmall,
                                              [&] { bareLoopInMemory(all.files, all.bytes); },
                                              [&] { bareLoopFromFile(all.files, payloadPath); },
                                              [&] { bareLoopFromFile(small.files, payloadPath); }});
    const auto report = [](std::string_view name, std::size_t bytes, const auto& timing,
                           const auto& baseline) {
        orb::bench::reportRate(name, timing, static_cast<double>(bytes), "MB/s", baseline);
    };
    report("read every file / uncompress in memory", total, timings[0], timings[3]);
    report("read every file / uncompress from a file", total, timings[0], timings[4]);
    report("read, archive kept open / uncompress in memory", total, timings[1], timings[3]);
    report("mount, read 6000 small files / plain read", smallTotal, timings[2], timings[5]);
    fs::remove_all(folder);
    return 0;
}
