#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "io/archive/hpi_writer.h"
#include "io/files/file_ops.h"
#include "session/unit_view_session.h"

/// Archives that are made to be given to others.
namespace orb::unitview {

struct PackRequest {
    std::filesystem::path destination;
    bool overwrite = false;
    io::HpiMethod compression = io::HpiMethod::zlib;
};

/// A file that is not in a pack, and why.
struct LeftOutFile {
    std::string path;
    std::string reason;
};

struct WrittenPack {
    std::filesystem::path path;
    std::size_t fileCount = 0;
    std::uint64_t byteSize = 0;
    /// Of the loaded unit, where the pack took the place of a mounted archive.
    Reload reload = {};
    /// What a pack does where it lies.
    std::optional<std::string> warning = {};
};

/// "zlib", "lz77" or "none". Throws RequestError "unknown compression: …".
io::HpiMethod compressionNamed(const std::string& name);

/// The files of a pack, each compressed as soon as it is known: memory is needed for the pack, not
/// for what it holds.
class PackContent {
public:
    explicit PackContent(io::HpiMethod compression) : compression_(compression) {}

    /// Throws RequestError "HPI archive too large".
    void add(std::string path, io::ByteView content);
    std::size_t fileCount() const { return files_.size(); }
    /// By path; nothing is left here.
    std::vector<io::HpiInputFile> takeSorted();

private:
    io::HpiMethod compression_;
    std::vector<io::HpiInputFile> files_;
};

/// Throws RequestError unless a pack may be written there: "bad file name: …", "folder not found:
/// …", "destination lies in the game directory: …", "destination is a folder: …" or, unless it is
/// to be overwritten, "file exists: …"; "destination is no archive: …" for another file of a
/// mounted mod.
void requirePackDestination(const UnitViewSession& session, const PackRequest& request);

/// Writes the files as one archive: afterwards the destination is what it was or the whole pack. A
/// mounted archive is mounted anew; references into the session's data end then. Throws
/// RequestError with the text of what failed, "pack lacks files of …" for a mounted archive that
/// has files under paths which the pack has not.
WrittenPack writePack(UnitViewSession& session, const PackRequest& request, PackContent content,
                      io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
