#include "io/files/folder_lock.h"

#ifndef _WIN32
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace orb::io {

#ifdef _WIN32

// A file that is open elsewhere can be neither removed nor renamed there.
FolderLock::FolderLock(const std::filesystem::path&) {}
FolderLock::~FolderLock() = default;

#else

namespace {

/// Longer than a write takes; who holds a lock for longer is not waited for.
constexpr auto kLongestWait = std::chrono::seconds(3);
constexpr auto kPause = std::chrono::milliseconds(2);

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    descriptor_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor_ < 0) return;
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    while (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(kPause);
}

FolderLock::~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

#endif

}  // namespace orb::io
