#pragma once

#include <filesystem>

namespace orb::io {

/// Keeps other processes of this program from writing into a folder while it lives: they would use
/// the same names for temporary files. Ends with the process, whatever ends it. After a few seconds
/// of waiting, and where a folder cannot be locked, it lets its owner go on all the same. Not for a
/// folder that this process has locked already.
class FolderLock {
public:
    /// Locks the folder that holds `file`.
    explicit FolderLock(const std::filesystem::path& file);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock();

private:
    int descriptor_ = -1;
};

}  // namespace orb::io
