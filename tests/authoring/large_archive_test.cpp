#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>

#include <gtest/gtest.h>

#include "authoring/backup.h"
#include "authoring/safe_write.h"
#include "io/archive/hpi_writer.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"

#if ORB_TEST_HAS_POSIX
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace orb::unitview {
namespace {

/// Megabytes of an archive worth measuring; without it the test is quick and measures nothing.
constexpr const char* kSizeSwitch = "ORB_TEST_ARCHIVE_MB";

/// Runs in a process of its own where it can; returns that one's peak memory in megabytes.
long peakOf(const std::function<bool()>& action) {
#if ORB_TEST_HAS_POSIX
    if (fork() == 0) ::_exit(action() ? 0 : 1);
    int status = 1;
    rusage usage{};
    wait4(-1, &status, 0, &usage);
    EXPECT_EQ(status, 0);
    return usage.ru_maxrss / 1024;
#else
    EXPECT_TRUE(action());
    return 0;
#endif
}

TEST(LargeArchiveTest, IsRewrittenWithinTwiceItsSize) {
    const io::TestFolder folder;
    const char* const asked = std::getenv(kSizeSwitch);
    const long megabytes = asked ? std::strtol(asked, nullptr, 10) : 2;
    const auto path = folder.path() / "large.ufo";
    peakOf([&] {
        std::mt19937_64 random(1);
        std::vector<io::HpiInputFile> files{{"units/A.FBI", io::bytesOf("old")}};
        for (long i = 0; i < megabytes; ++i) {
            files.push_back({"data/" + std::to_string(i), io::Bytes(1 << 20)});
            for (auto& byte : files.back().content) byte = static_cast<std::uint8_t>(random());
        }
        return !folder.write(path, io::writeHpi(files)).empty();
    });
    const long peak = peakOf([&] {
        const std::vector<FileWrite> writes{
            {{io::FileLocation::Kind::archive, path, "units/A.FBI"}, io::bytesOf("new")}};
        return writeSources(io::systemFileOps(), writes, true, {}).outcome == WriteOutcome::ok;
    });
    const io::HpiArchive archive(path), backup(backupPath(path));
    EXPECT_EQ(archive.readFile(*archive.findFile("units/A.FBI")), io::bytesOf("new"));
    io::HpiReader now = archive.openReader(), before = backup.openReader();
    for (const io::HpiEntry& file : *archive.findDirectory("data"))
        ASSERT_EQ(now.readBlob(*file.file()),
                  before.readBlob(*backup.findFile("data/" + file.name)->file()));
    if (!asked) return;
    EXPECT_LE(peak, 2 * megabytes);
    std::cout << megabytes << " MB rewritten: peak memory " << peak << " MB\n";
}

}  // namespace
}  // namespace orb::unitview
