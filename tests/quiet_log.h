#pragma once

#include <filesystem>

#include "server/logger.h"

namespace orb {

/// Keeps the log off standard error while it lives and, given a file, writes it there. Afterwards
/// what was the current logger before is it again.
class QuietLog {
public:
    QuietLog() {
        logger_.setEcho(false);
        setCurrentLogger(&logger_);
    }
    explicit QuietLog(const std::filesystem::path& file) : QuietLog() { logger_.openFile(file); }
    ~QuietLog() { setCurrentLogger(&before_); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    Logger& before_ = currentLogger();
    Logger logger_;
};

}  // namespace orb
