#include "io/vfs/folder_stamp.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace orb::io {
namespace fs = std::filesystem;

bool FolderStamp::isSettled(Time now) const {
    // Times with fractions of a second tick at least every 10 ms, others every 2 s at the worst.
    constexpr Time kFine = std::chrono::milliseconds(100);
    constexpr Time kCoarse = std::chrono::seconds(3);
    const bool isFine = changed % std::chrono::seconds(1) != Time::zero();
    return now - changed > (isFine ? kFine : kCoarse);
}

#ifdef _WIN32

std::optional<FolderStamp> stampOf(const fs::path& folder) {
    const HANDLE handle =
        CreateFileW(folder.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return std::nullopt;
    BY_HANDLE_FILE_INFORMATION info{};
    const bool isKnown = GetFileInformationByHandle(handle, &info) != 0;
    CloseHandle(handle);
    if (!isKnown || (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return std::nullopt;
    const auto join = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
    // In units of 100 ns since 1601.
    constexpr std::int64_t kUnitsBefore1970 = 116'444'736'000'000'000;
    const auto units = static_cast<std::int64_t>(
        join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime));
    const FolderStamp::Time written((units - kUnitsBefore1970) * 100);
    return FolderStamp{info.dwVolumeSerialNumber, join(info.nFileIndexHigh, info.nFileIndexLow),
                       written, written};
}

#else

std::optional<FolderStamp> stampOf(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
    const auto time = [](const timespec& moment) {
        return std::chrono::seconds(moment.tv_sec) + std::chrono::nanoseconds(moment.tv_nsec);
    };
    return FolderStamp{status.st_dev, status.st_ino, time(status.st_mtim), time(status.st_ctim)};
}

#endif

}  // namespace orb::io
