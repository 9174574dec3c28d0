#include "io/files/folder_lock.h"

#ifndef _WIN32
#include <cerrno>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/path_text.h"
#endif

namespace orb::io {

#ifdef _WIN32

// A file that is open elsewhere can be neither removed nor renamed there.
class FolderLock::Descriptor {};
FolderLock::FolderLock(const std::filesystem::path&, Busy) {}
bool FolderLock::isHeld() const {
    return false;
}

#else

namespace {

/// Of those who can go on without.
constexpr std::chrono::milliseconds kShortWait = std::chrono::seconds(3);
constexpr auto kPause = std::chrono::milliseconds(2);

using FolderId = std::pair<dev_t, ino_t>;

}  // namespace

/// An open folder; the system ends its lock when it is closed.
class FolderLock::Descriptor {
public:
    explicit Descriptor(const std::filesystem::path& folder)
        : number_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }

    /// The folder's identity under all of its names; {0, 0} when it could not be opened.
    FolderId id() const {
        struct stat status {};
        if (number_ < 0 || ::fstat(number_, &status) != 0) return {};
        return {status.st_dev, status.st_ino};
    }

    /// False when another process has it after that time.
    bool lock(std::chrono::milliseconds longest) {
        const auto end = std::chrono::steady_clock::now() + longest;
        while (!tryLock()) {
            if (errno != EWOULDBLOCK && errno != EINTR) return true;  // there are no locks here
            if (std::chrono::steady_clock::now() >= end) return false;
            std::this_thread::sleep_for(kPause);
        }
        return true;
    }
    bool isLocked() const { return isLocked_; }

    /// Those that are locked now.
    static std::map<FolderId, std::weak_ptr<Descriptor> >& locked() {
        static std::map<FolderId, std::weak_ptr<Descriptor> > folders;
        return folders;
    }

private:
    bool tryLock() { return isLocked_ = ::flock(number_, LOCK_EX | LOCK_NB) == 0; }

    int number_;
    bool isLocked_ = false;
};

FolderLock::FolderLock(const std::filesystem::path& file, Busy busy) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const auto opened = std::make_shared<Descriptor>(folder);
    const FolderId id = opened->id();
    if (id == FolderId{}) return;
    auto& locked = Descriptor::locked();
    std::erase_if(locked, [](const auto& each) { return each.second.expired(); });
    held_ = locked[id].lock();
    if (held_ && held_->isLocked()) return;
    if (!held_) locked[id] = held_ = opened;
    if (!held_->lock(busy == Busy::refuse ? longestWait : kShortWait) && busy == Busy::refuse)
        throw std::runtime_error(textFromPath(folder) + " is being written by another editor");
}

bool FolderLock::isHeld() const {
    return held_ && held_->isLocked();
}

#endif

FolderLock::~FolderLock() = default;

}  // namespace orb::io
