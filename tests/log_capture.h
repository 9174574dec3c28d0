#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb {

/// Everything logged while it lives.
class LogCapture {
public:
    /// The lines without their time: "[LEVEL] text".
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);)
            lines.push_back(line.substr(line.find("] ") + 2));
        return lines;
    }

private:
    TestFolder folder_;
    std::filesystem::path path_ = folder_.path() / "log";
    QuietLog log_{path_};
};

}  // namespace orb
