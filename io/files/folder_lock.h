#pragma once

#include <filesystem>
#include <memory>

namespace orb::io {

/// Keeps other processes of this program from writing into a folder while it lives: they would use
/// the same names for temporary files. Ends with the process, whatever ends it. After a few seconds
/// of waiting, and where a folder cannot be locked, it lets its owner go on all the same. A folder
/// that this process has locked already stays locked until the last of its locks ends. Not for
/// several threads.
class FolderLock {
public:
    /// Locks the folder that holds `file`.
    explicit FolderLock(const std::filesystem::path& file);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock();

    /// False where another process has the folder, or it cannot be locked.
    bool isHeld() const;

private:
    class Descriptor;
    /// Shared by the locks of one folder.
    std::shared_ptr<Descriptor> held_;
};

}  // namespace orb::io
