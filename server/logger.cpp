#include "server/logger.h"

#include <atomic>
#include <chrono>
#include <cstdio>

#include <fmt/chrono.h>

namespace orb {
namespace {

std::atomic<Logger*> currentLoggerPointer{nullptr};

Logger& builtInLogger() {
    static Logger logger;
    return logger;
}

std::string_view levelName(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return "DEBUG";
        case LogLevel::info:
            return "INFO";
        case LogLevel::warn:
            return "WARN";
        case LogLevel::error:
            return "ERROR";
        case LogLevel::critical:
            return "CRITICAL";
    }
    return "UNKNOWN";
}

/// UTC with three decimals. The library drops the fraction of a second in some versions and prints
/// it in others, so it gets whole seconds and the milliseconds are formatted here.
std::string timestamp() {
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto seconds = floor<std::chrono::seconds>(now);
    return fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03}", fmt::gmtime(system_clock::to_time_t(seconds)),
                       (now - seconds).count());
}

}  // namespace

void Logger::write(LogLevel level, std::string_view message) {
    if (level < minimumLevel_) return;
    const std::string line = fmt::format("[{}] [{}] {}\n", timestamp(), levelName(level), message);
    const std::scoped_lock lock(mutex_);
    if (file_.is_open()) file_ << line << std::flush;
    if (echo_) std::fwrite(line.data(), 1, line.size(), stderr);
}

void Logger::openFile(const std::filesystem::path& path) {
    const std::scoped_lock lock(mutex_);
    file_.open(path, std::ios::binary | std::ios::app);
}

Logger& currentLogger() {
    Logger* const logger = currentLoggerPointer;
    return logger ? *logger : builtInLogger();
}

void setCurrentLogger(Logger* logger) {
    currentLoggerPointer = logger;
}

LogLine::~LogLine() {
    try {
        logger_.write(level_, text_.str());
    } catch (...) {  // a log line that cannot be written must not end the process
    }
}

}  // namespace orb
