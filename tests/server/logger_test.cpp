#include "server/logger.h"

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/test_folder.h"

namespace orb {
namespace {

TEST(Logger, WritesStampedLinesAtOrAboveItsLevelToItsFile) {
    const TestFolder folder;
    const auto path = folder.path() / "log";
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
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::ranges::replace_if(
        text, [](char c) { return c >= '0' && c <= '9'; }, '#');
    const std::string stamp = "[####-##-## ##:##:##.###] ";
    EXPECT_EQ(text, stamp + "[WARN] kept #\n" + stamp + "[UNKNOWN] kept #\n");
}

}  // namespace
}  // namespace orb
