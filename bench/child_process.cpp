#include "bench/child_process.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/figures.h"

extern char** environ;

namespace orb::bench {
namespace {

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;

    Pipe() {
        std::array<int, 2> ends{};
        require(pipe2(ends.data(), O_CLOEXEC) == 0, "no pipe");
        // Numbers from 10 on stay clear of those that a child gets.
        readEnd = fcntl(ends[0], F_DUPFD_CLOEXEC, 10);
        writeEnd = fcntl(ends[1], F_DUPFD_CLOEXEC, 10);
        close(ends[0]);
        close(ends[1]);
    }
};

pid_t spawn(std::vector<std::string>& command, posix_spawn_file_actions_t* actions) {
    std::vector<char*> arguments(command.size() + 1);  // the last one stays null
    std::ranges::transform(command, arguments.begin(),
                           [](std::string& text) { return text.data(); });
    pid_t pid = 0;
    require(posix_spawnp(&pid, arguments[0], actions, nullptr, arguments.data(), environ) == 0,
            "cannot start a child");
    return pid;
}

std::string readBytes(int descriptor, std::size_t count) {
    std::string bytes(count, '\0');
    for (std::size_t done = 0; done < count;) {
        const ssize_t got = read(descriptor, bytes.data() + done, count - done);
        require(got > 0, "the child ended early");
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command) {
    const Pipe input;
    const Pipe output;
    const Pipe frames;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.readEnd, 0);
    posix_spawn_file_actions_adddup2(&actions, output.writeEnd, 1);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, frames.writeEnd, 3);
    pid_ = spawn(command, &actions);
    posix_spawn_file_actions_destroy(&actions);
    for (const int end : {input.readEnd, output.writeEnd, frames.writeEnd}) close(end);
    input_ = input.writeEnd;
    output_ = output.readEnd;
    frames_ = frames.readEnd;
}

ChildProcess::~ChildProcess() {
    close(input_);
    waitpid(pid_, nullptr, 0);
    close(output_);
    close(frames_);
}

void ChildProcess::write(const std::string& bytes) const {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t put = ::write(input_, bytes.data() + done, bytes.size() - done);
        require(put > 0, "the child does not listen");
        done += static_cast<std::size_t>(put);
    }
}

std::string ChildProcess::ask(const std::string& line) {
    write(line + '\n');
    return readLine();
}

std::string ChildProcess::readLine() {
    std::array<char, 65536> part{};
    std::size_t end = received_.find('\n');
    while (end == std::string::npos) {
        const ssize_t got = read(output_, part.data(), part.size());
        require(got > 0, "the child ended early");
        const std::string_view bytes(part.data(), static_cast<std::size_t>(got));
        const std::size_t found = bytes.find('\n');
        if (found != std::string_view::npos) end = received_.size() + found;
        received_ += bytes;
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return line;
}

std::string ChildProcess::readFrame() {
    const std::string length = readBytes(frames_, 4);
    std::size_t count = 0;
    for (std::size_t i = 0; i < 4; ++i)
        count |= std::size_t{static_cast<unsigned char>(length[i])} << 8 * i;
    return readBytes(frames_, count);
}

std::string ChildProcess::echo(const std::string& bytes) {
    std::jthread writer([&] { write(bytes); });
    return readBytes(output_, bytes.size());
}

double ChildProcess::peakMegabytes() const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string word; status >> word;)
        if (double kilobytes = 0; word == "VmHWM:" && status >> kilobytes)
            return kilobytes * 1024 / 1e6;
    require(false, "no memory figures");
    return 0;
}

void runProcess(std::vector<std::string> command) {
    waitpid(spawn(command, nullptr), nullptr, 0);
}

}  // namespace orb::bench
