#include "server/logger.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace orb {
namespace {

TEST(Logger, WritesStampedLinesAtOrAboveItsLevelToItsFile) {
    const auto path = std::filesystem::path(testing::TempDir()) / "logger_test.log";
    std::filesystem::remove(path);
    {
        Logger logger;
        logger.setEcho(false);
        logger.openFile(path);
        logger.setMinimumLevel(LogLevel::warn);
        LogLine(logger, LogLevel::debug) << "dropped";
        LogLine(logger, LogLevel::info) << "dropped";
        LogLine(logger, LogLevel::warn) << "kept "
                                        << "this";
        LogLine(logger, static_cast<LogLevel>(7)) << "kept "
                                                  << "this too";
    }
    std::ifstream file(path);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
    EXPECT_EQ(text,
              "[0000-00-00 00:00:00.000] [WARN] kept this\n"
              "[0000-00-00 00:00:00.000] [UNKNOWN] kept this too\n");
}

}  // namespace
}  // namespace orb
