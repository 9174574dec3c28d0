#include "server/logger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

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
        LogLine(logger, LogLevel::warn) << "kept " << 1;
        LogLine(logger, static_cast<LogLevel>(7)) << "kept " << 2;
    }
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::string stamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] )";
    EXPECT_TRUE(std::regex_match(text, std::regex(stamp + "\\[WARN\\] kept 1\n" + stamp +
                                                  "\\[UNKNOWN\\] kept 2\n")))
        << text;
}

}  // namespace
}  // namespace orb
