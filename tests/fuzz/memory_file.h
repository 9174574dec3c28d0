#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzzing.h"

namespace orb::fuzz {

/// A regular file in memory, for readers that want a path.
class MemoryFile {
public:
    explicit MemoryFile(io::ByteView content) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        const auto written = write(descriptor_, content.data(), content.size());
        require(written == static_cast<ssize_t>(content.size()), "the test's own file is written");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor_); }

    std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

}  // namespace orb::fuzz
