#pragma once

#include <chrono>
#include <filesystem>
#include <memory>

namespace orb::io {

/// Keeps other processes of this program from writing into a folder while it lives: they would use
/// the same names for temporary files, and lose what this one writes. Ends with the process,
/// whatever ends it. Where a folder cannot be locked at all it lets its owner go on. A folder that
/// this process has locked already stays locked until the last of its locks ends. Who locks several
/// folders begins with that of the mod, so that no two wait for each other. Not for several
/// threads.
class FolderLock {
public:
    /// What comes of a folder that another process has.
    enum class Busy {
        /// After `longestWait` it is refused.
        refuse,
        /// After a few seconds the owner goes on all the same, as one who reads may.
        goOn
    };

    /// Longer than nearly all writes take.
    inline static std::chrono::milliseconds longestWait = std::chrono::seconds(30);

    /// Locks the folder that holds `file`. Throws std::runtime_error "FOLDER is being written by
    /// another editor".
    explicit FolderLock(const std::filesystem::path& file, Busy busy = Busy::refuse);
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
