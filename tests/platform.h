#pragma once

// What tests need of the system that not every platform has.

#include <cstdlib>
#include <filesystem>

#ifdef _WIN32
/// Whether there are named pipes, symbolic links, sparse files, permissions of a group and names
/// that differ by case only among the files, and fork() and mount().
#define ORB_TEST_HAS_POSIX 0
#else
#define ORB_TEST_HAS_POSIX 1
#include <sys/stat.h>
#endif

namespace orb {

/// A null value removes the variable.
inline void setEnvironment(const char* name, const char* value) {
#if ORB_TEST_HAS_POSIX
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
#else
    ::_putenv_s(name, value ? value : "");
#endif
}

/// A file that only hangs whoever opens it, and a link to itself; none where there are no such.
inline void makePipe([[maybe_unused]] const std::filesystem::path& path) {
#if ORB_TEST_HAS_POSIX
    if (::mkfifo(path.c_str(), 0600) != 0) std::abort();
#endif
}
inline void makeLoopingLink([[maybe_unused]] const std::filesystem::path& path) {
#if ORB_TEST_HAS_POSIX
    std::filesystem::create_symlink(path.filename(), path);
#endif
}

}  // namespace orb
