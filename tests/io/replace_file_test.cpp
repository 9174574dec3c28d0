#include "io/files/replace_file.h"

#include <gtest/gtest.h>

#include "io/path_text.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

#if ORB_TEST_HAS_POSIX
std::string textOf(const fs::path& path) {
    std::error_code error;
    return std::string(asText(systemFileOps().read(path, error)));
}

TEST(ReplaceFileTest, WritesWhatALinkLeadsTo) {
    const TestFolder folder;
    const fs::path file = folder.write("far/file", bytesOf("old"));
    const fs::path link = folder.path() / "link";
    fs::create_symlink(file, link);
    replaceFile(systemFileOps(), link, bytesOf("new"));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(textOf(file), "new");
    EXPECT_FALSE(fs::exists(temporaryPath(file)));
}
#endif

TEST(ReplaceFileTest, RefusesWhatIsNoFile) {
    const TestFolder folder;
    const auto failureOf = [](const fs::path& path) -> std::string {
        try {
            replaceFile(systemFileOps(), path, bytesOf("new"), Durability::unflushed);
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    fs::create_directory(folder.path() / "a folder");
    std::vector<const char*> names{"a folder", "no folder/file"};
    if (ORB_TEST_HAS_POSIX) names.push_back("loop");
    makeLoopingLink(folder.path() / "loop");
    for (const char* name : names) {
        const fs::path path = folder.path() / name;
        EXPECT_EQ(failureOf(path), "open for write: " + textFromPath(path));
        EXPECT_FALSE(fs::exists(temporaryPath(path)));
    }
}

}  // namespace
}  // namespace orb::io
