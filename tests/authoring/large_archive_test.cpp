#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "authoring/safe_write.h"
#include "io/archive/hpi_writer.h"
#include "tests/io/archive_fixture.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// Megabytes of an archive worth measuring; without it the test is quick and measures nothing.
constexpr const char* kSizeSwitch = "ORB_TEST_ARCHIVE_MB";
constexpr std::size_t kQuickMegabytes = 4;

void writeLargeArchive(const fs::path& path, std::size_t megabytes) {
    std::mt19937_64 random(1);
    std::vector<io::HpiInputFile> files{{"units/A.FBI", io::bytesOf("old")}};
    for (std::size_t i = 0; i < megabytes; ++i) {
        io::Bytes noise(1 << 20);
        for (auto& byte : noise) byte = static_cast<std::uint8_t>(random());
        files.push_back({"data/" + std::to_string(i), std::move(noise)});
    }
    const io::Bytes bytes = io::writeHpi(files);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

/// Runs in a process of its own; returns by how many megabytes its peak memory grew.
long peakGrowthOf(const std::function<void()>& action) {
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    };
    int pipe[2];
    EXPECT_EQ(::pipe(pipe), 0);
    if (fork() == 0) {
        const long before = peak();
        action();
        const long growth = peak() - before;
        ::_exit(::write(pipe[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
    }
    long growth = -1;
    EXPECT_EQ(::read(pipe[0], &growth, sizeof growth), ssize_t{sizeof growth});
    ::close(pipe[0]);
    ::close(pipe[1]);
    int status = 1;
    wait(&status);
    EXPECT_EQ(status, 0);
    return growth;
}

TEST(LargeArchiveTest, IsRewrittenWithinTwiceItsSize) {
    const io::TestFolder folder;
    const fs::path path = folder.path() / "large.ufo";
    const char* const asked = std::getenv(kSizeSwitch);
    const std::size_t megabytes = asked ? std::strtoul(asked, nullptr, 10) : kQuickMegabytes;
    peakGrowthOf([&] { writeLargeArchive(path, megabytes); });

    const auto started = std::chrono::steady_clock::now();
    const long growth = peakGrowthOf([&] {
        const auto result =
            writeSource(systemFileOps(), {io::FileLocation::Kind::archive, path, "units/A.FBI"},
                        io::bytesOf("new"), true);
        if (result.outcome != WriteOutcome::ok) ::_exit(1);
    });
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;

    const io::HpiArchive archive(path);
    EXPECT_EQ(archive.readFile(*archive.findFile("units/A.FBI")), io::bytesOf("new"));
    const io::HpiArchive backup(backupPath(path));
    io::HpiReader now = archive.openReader(), before = backup.openReader();
    for (const io::HpiEntry& file : *archive.findDirectory("data"))
        ASSERT_EQ(now.readBlob(*file.file()),
                  before.readBlob(*backup.findFile("data/" + file.name)->file()));
    if (!asked) return;
    EXPECT_LE(growth, 2 * static_cast<long>(megabytes));
    std::cout << megabytes << " MB rewritten, backup included: peak memory grew by " << growth
              << " MB, " << taken.count() << " s\n";
}

}  // namespace
}  // namespace orb::unitview
