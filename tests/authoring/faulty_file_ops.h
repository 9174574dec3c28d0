#pragma once

#include <string>
#include <utility>

#include <unistd.h>

#include "io/files/file_ops.h"

namespace orb::unitview {

/// The real file operations, of which one fails or is the process's last; what writes does half of
/// its work first. Some kinds of operation can be refused throughout.
class FaultyFileOps : public io::FileOps {
public:
    enum class Fault { fail, die };
    static constexpr int kDeathStatus = 42;

    /// The operation number `step`, counted from 0, is the faulty one.
    FaultyFileOps(int step, Fault fault) : stepsLeft_(step), fault_(fault) {}

    bool refusesRenames = false;
    bool refusesNewFiles = false;
    bool refusesHardLinks = false;
    /// A file that nothing becomes, and whose bytes nobody writes.
    Path refusedFile;

    /// The operation that was made to fail; empty when there were not so many.
    const std::string& struck() const { return struck_; }

    std::filesystem::file_status status(const Path& path, std::error_code& error) override {
        return strikes("status", error) ? std::filesystem::file_status()
                                        : real_.status(path, error);
    }
    Path followLink(const Path& path, std::error_code& error) override {
        return strikes("followLink", error) ? path : real_.followLink(path, error);
    }
    void createDirectories(const Path& path, std::error_code& error) override {
        if (!strikes("createDirectories", error)) real_.createDirectories(path, error);
    }
    std::FILE* open(const Path& path, io::OpenMode mode, std::error_code& error) override {
        if (strikes("open", error) || refused(path == refusedFile, error)) return nullptr;
        if (mode != io::OpenMode::createNew || !refused(refusesNewFiles, error))
            return real_.open(path, mode, error);
        return nullptr;
    }
    void write(std::FILE* file, io::ByteView bytes, std::error_code& error) override {
        const bool isFaulty = strikes("write", error, [&](std::error_code& ignored) {
            real_.write(file, bytes.first(bytes.size() / 2), ignored);
            real_.flush(file, ignored);
        });
        if (!isFaulty) real_.write(file, bytes, error);
    }
    void flush(std::FILE* file, std::error_code& error) override {
        if (!strikes("flush", error)) std::fflush(file);  // a disk that lasts is not tested
    }
    void close(std::FILE* file, std::error_code& error) override {
        std::error_code ignored;
        real_.close(file, ignored);
        strikes("close", error);
    }
    io::Bytes read(const Path& path, std::error_code& error) override {
        return strikes("read", error) ? io::Bytes() : real_.read(path, error);
    }
    void copy(const Path& from, const Path& to, std::error_code& error) override {
        const bool isFaulty = strikes("copy", error, [&](std::error_code& ignored) {
            real_.copy(from, to, ignored);
            std::filesystem::resize_file(to, std::filesystem::file_size(to) / 2, ignored);
        });
        if (!isFaulty) real_.copy(from, to, error);
    }
    void setPermissions(const Path& path, std::filesystem::perms permissions,
                        std::error_code& error) override {
        if (!strikes("setPermissions", error)) real_.setPermissions(path, permissions, error);
    }
    void hardLink(const Path& file, const Path& name, std::error_code& error) override {
        if (!strikes("hardLink", error) && !refused(refusesHardLinks, error))
            real_.hardLink(file, name, error);
    }
    void rename(const Path& from, const Path& to, std::error_code& error) override {
        if (!strikes("rename", error) && !refused(refusesRenames || to == refusedFile, error))
            real_.rename(from, to, error);
    }
    void remove(const Path& path, std::error_code& error) override {
        if (!strikes("remove", error)) real_.remove(path, error);
    }
    void syncDirectory(const Path&, std::error_code& error) override {
        strikes("syncDirectory", error);
    }

private:
    static void doNothing(std::error_code&) {}

    template <typename HalfWay = decltype(&doNothing)>
    bool strikes(const char* name, std::error_code& error, HalfWay halfWay = doNothing) {
        if (stepsLeft_-- != 0) return false;
        halfWay(error);
        if (fault_ == Fault::die) ::_exit(kDeathStatus);
        struck_ = name;
        error = std::make_error_code(std::errc::io_error);
        return true;
    }

    static bool refused(bool isRefused, std::error_code& error) {
        if (isRefused) error = std::make_error_code(std::errc::permission_denied);
        return isRefused;
    }

    io::FileOps& real_ = io::systemFileOps();
    int stepsLeft_;
    Fault fault_;
    std::string struck_;
};

}  // namespace orb::unitview
