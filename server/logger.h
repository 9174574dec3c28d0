#pragma once

#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>

namespace orb {

/// Log levels by rising weight; any other value prints as "UNKNOWN".
enum class LogLevel : int { debug = 0, info = 1, warn = 2, error = 3, critical = 4 };

/// Writes timestamped lines to standard error and, when a file is open, to that file; never to
/// standard output, which belongs to the protocol. Safe to use from several threads.
class Logger {
public:
    /// Formats and writes one line; lines below the minimum level are dropped.
    void write(LogLevel level, std::string_view message);

    void setMinimumLevel(LogLevel level) { minimumLevel_ = level; }
    void setEcho(bool echoToStandardError) { echo_ = echoToStandardError; }
    /// Appends every further line to `path` too; an unwritable path leaves the file closed.
    void openFile(const std::filesystem::path& path);

private:
    std::ofstream file_;
    std::mutex mutex_;
    LogLevel minimumLevel_ = LogLevel::debug;
    bool echo_ = true;
};

/// The logger set last with `setCurrentLogger`, or the built-in one.
Logger& currentLogger();

/// Makes `logger` the current one; nullptr returns to the built-in one. The caller keeps ownership.
void setCurrentLogger(Logger* logger);

/// Collects one message by stream insertion and writes it when it is destroyed:
/// `LogLine(LogLevel::info) << "mounted " << count;`
class LogLine {
public:
    explicit LogLine(LogLevel level) : LogLine(currentLogger(), level) {}
    LogLine(Logger& logger, LogLevel level) : logger_(logger), level_(level) {}
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    ~LogLine();

    template <typename T>
    LogLine& operator<<(const T& value) {
        text_ << value;
        return *this;
    }

private:
    Logger& logger_;
    LogLevel level_;
    std::ostringstream text_;
};

}  // namespace orb
