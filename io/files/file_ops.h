#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "io/byte_cursor.h"

namespace orb::io {

/// How a file is opened for writing.
enum class OpenMode {
    /// One that exists, its content kept.
    existing,
    /// A new one; fails when there is one already.
    createNew,
    /// An empty one, whatever was there.
    truncate
};

/// Every file operation by which sources, backups and restored files are written, so that each can
/// be made to fail. An operation that fails sets `error`; one that succeeds leaves it clear.
class FileOps {
public:
    using Path = std::filesystem::path;

    virtual ~FileOps() = default;

    /// The status of what the path leads to.
    virtual std::filesystem::file_status status(const Path& path, std::error_code& error) = 0;
    /// The file that a symbolic link leads to in the end; any other path itself.
    virtual Path followLink(const Path& path, std::error_code& error) = 0;
    virtual void createDirectories(const Path& path, std::error_code& error) = 0;

    /// Null on failure.
    virtual std::FILE* open(const Path& path, OpenMode mode, std::error_code& error) = 0;
    virtual void write(std::FILE* file, ByteView bytes, std::error_code& error) = 0;
    /// Hands everything written to the disk.
    virtual void flush(std::FILE* file, std::error_code& error) = 0;
    /// The file is closed even on failure.
    virtual void close(std::FILE* file, std::error_code& error) = 0;

    virtual Bytes read(const Path& path, std::error_code& error) = 0;
    /// Copies content and permissions into a new file and hands it to the disk; fails when there is
    /// one already.
    virtual void copy(const Path& from, const Path& to, std::error_code& error) = 0;
    virtual void setPermissions(const Path& path, std::filesystem::perms permissions,
                                std::error_code& error) = 0;
    /// Gives the file a second name; fails when that is taken.
    virtual void hardLink(const Path& file, const Path& name, std::error_code& error) = 0;
    /// Takes the place of what was there.
    virtual void rename(const Path& from, const Path& to, std::error_code& error) = 0;
    /// A file that is not there is no failure.
    virtual void remove(const Path& path, std::error_code& error) = 0;
    /// Hands the names in a directory to the disk, where the platform can.
    virtual void syncDirectory(const Path& directory, std::error_code& error) = 0;
};

/// The operations on the real file system.
FileOps& systemFileOps();

}  // namespace orb::io
