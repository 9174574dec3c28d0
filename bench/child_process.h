#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <sys/types.h>

namespace orb::bench {

/// A child that reads lines on its standard input and answers on its standard output. It logs to
/// nowhere and has descriptor 3 for binary frames.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> command);
    /// Ends its input and waits for it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Sends a line; returns the line that answers it.
    std::string ask(const std::string& line);
    std::string readLine();
    /// The next frame of descriptor 3 without its length.
    std::string readFrame();
    /// Sends what is echoed, of any length, and reads it back.
    std::string echo(const std::string& bytes);

    /// The most memory that it had at a time.
    double peakMegabytes() const;

private:
    void write(const std::string& bytes) const;

    pid_t pid_ = 0;
    int input_ = -1;
    int output_ = -1;
    int frames_ = -1;
    /// What came after the line read last.
    std::string received_;
};

/// Runs a command to its end.
void runProcess(std::vector<std::string> command);

}  // namespace orb::bench
