#include "io/files/replace_file.h"

#include <gtest/gtest.h>

#include "tests/io/archive_fixture.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

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
    fs::create_symlink("loop", folder.path() / "loop");
    for (const char* name : {"a folder", "loop", "no folder/file"}) {
        const fs::path path = folder.path() / name;
        EXPECT_EQ(failureOf(path), "open for write: " + path.string());
        EXPECT_FALSE(fs::exists(temporaryPath(path)));
    }
}

}  // namespace
}  // namespace orb::io
