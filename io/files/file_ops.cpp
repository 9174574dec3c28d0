#include "io/files/file_ops.h"

#include <cerrno>
#include <fstream>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace orb::io {
namespace {

namespace fs = std::filesystem;

std::error_code lastError() {
    return {errno != 0 ? errno : EIO, std::generic_category()};
}

#ifdef _WIN32

std::FILE* openFile(const fs::path& path, OpenMode mode) {
    constexpr int kFlags[] = {0, _O_CREAT | _O_EXCL, _O_CREAT | _O_TRUNC};
    const int flags = _O_RDWR | _O_BINARY | _O_NOINHERIT | kFlags[static_cast<int>(mode)];
    const int descriptor = _wsopen(path.c_str(), flags, _SH_DENYNO, _S_IREAD | _S_IWRITE);
    if (descriptor < 0) return nullptr;
    std::FILE* const file = _wfdopen(descriptor, L"r+b");
    if (!file) _close(descriptor);
    return file;
}

bool flushToDisk(std::FILE* file) {
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

/// Names reach the disk with the file system's own journal.
bool syncPath(const fs::path&) {
    return true;
}

#else

std::FILE* openFile(const fs::path& path, OpenMode mode) {
    constexpr const char* kModes[] = {"r+be", "wbxe", "wbe"};
    return std::fopen(path.c_str(), kModes[static_cast<int>(mode)]);
}

bool flushToDisk(std::FILE* file) {
    return std::fflush(file) == 0 && ::fsync(fileno(file)) == 0;
}

/// Works for directories and for files that may only be read.
bool syncPath(const fs::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool synced = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return synced;
}

#endif

class SystemFileOps : public FileOps {
public:
    fs::file_status status(const Path& path, std::error_code& error) override {
        return fs::status(path, error);
    }

    Path followLink(const Path& path, std::error_code& error) override {
        const fs::file_status status = fs::symlink_status(path, error);
        if (status.type() == fs::file_type::not_found) error.clear();
        if (error || !fs::is_symlink(status)) return path;
        const Path target = fs::canonical(path, error);
        return error ? path : target;
    }

    void createDirectories(const Path& path, std::error_code& error) override {
        fs::create_directories(path, error);
    }

    std::FILE* open(const Path& path, OpenMode mode, std::error_code& error) override {
        errno = 0;
        std::FILE* const file = openFile(path, mode);
        error = file ? std::error_code() : lastError();
        return file;
    }

    void write(std::FILE* file, ByteView bytes, std::error_code& error) override {
        errno = 0;
        // no bytes may have no address, which fwrite does not allow
        const bool written =
            bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
        error = written ? std::error_code() : lastError();
    }

    void flush(std::FILE* file, std::error_code& error) override {
        errno = 0;
        error = flushToDisk(file) ? std::error_code() : lastError();
    }

    void close(std::FILE* file, std::error_code& error) override {
        errno = 0;
        error = std::fclose(file) == 0 ? std::error_code() : lastError();
    }

    Bytes read(const Path& path, std::error_code& error) override {
        const std::uintmax_t size = fs::file_size(path, error);
        if (error) return {};
        Bytes bytes(static_cast<std::size_t>(size));
        std::ifstream file(path, std::ios::binary);
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
        if (!file) error = std::make_error_code(std::errc::io_error);
        return bytes;
    }

    void copy(const Path& from, const Path& to, std::error_code& error) override {
        fs::copy_file(from, to, fs::copy_options::none, error);
        errno = 0;
        if (!error && !syncPath(to)) error = lastError();
    }

    void setPermissions(const Path& path, fs::perms permissions, std::error_code& error) override {
        fs::permissions(path, permissions, error);
    }

    void hardLink(const Path& file, const Path& name, std::error_code& error) override {
        fs::create_hard_link(file, name, error);
    }

    void rename(const Path& from, const Path& to, std::error_code& error) override {
        fs::rename(from, to, error);
    }

    void remove(const Path& path, std::error_code& error) override { fs::remove(path, error); }

    void syncDirectory(const Path& directory, std::error_code& error) override {
        errno = 0;
        error = syncPath(directory) ? std::error_code() : lastError();
    }
};

}  // namespace

FileOps& systemFileOps() {
    static SystemFileOps ops;
    return ops;
}

}  // namespace orb::io
