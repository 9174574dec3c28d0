#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace orb::io {

/// Tells one state of a folder from the others: while the stamp stays the same, so do the names in
/// the folder, provided that the stamp had settled when they were listed.
struct FolderStamp {
    using Time = std::chrono::nanoseconds;

    /// Of the folder itself: another one may have taken its place.
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    /// When its content last changed, and when that or anything about it did: programs that unpack
    /// or mirror files set the former as they like, but not the latter. Since 1970.
    Time modified{};
    Time changed{};

    bool operator==(const FolderStamp&) const = default;

    /// True when every change from `now` on gives another stamp. Within one tick of its clock a
    /// file system may change a folder several times and show the same time for all of them.
    bool isSettled(Time now) const;
};

/// None when there is no folder that can be looked at.
std::optional<FolderStamp> stampOf(const std::filesystem::path& folder);

/// False where a file system may change a folder and leave its times alone: FAT on Windows.
#ifdef _WIN32
inline constexpr bool kStampsTellEveryChange = false;
#else
inline constexpr bool kStampsTellEveryChange = true;
#endif

}  // namespace orb::io
