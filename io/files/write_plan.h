#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "io/files/file_ops.h"

/// Writing several files as one, also where the process dies between two of them: once all new
/// contents lie beside their places, a plan beside the first file names them, and whoever finds
/// such a plan moves what is left into place.
namespace orb::io {

struct PlannedFile {
    /// No link. Its new content is in its temporary sibling.
    std::filesystem::path target;
    /// io::contentVersion of what was there; none for a new file.
    std::optional<std::string> oldVersion;
    std::string newVersion;
};

/// The plan of a write whose first file lies in a folder.
std::filesystem::path planPath(const std::filesystem::path& folder);

/// What is appended to a file's name for its old content while others are being written.
std::filesystem::path oldContentPath(const std::filesystem::path& target);

/// False when there is none then: the write goes on without.
bool writePlan(FileOps& ops, const std::filesystem::path& plan, std::span<const PlannedFile> files);

enum class UnfinishedWrite {
    none,
    /// All of its files are the new ones now.
    finished,
    /// Its files were changed meanwhile, or their new contents are lost: they stay as they are.
    givenUp
};

/// Finishes the write that a process began in a folder and that died. One that is under way is left
/// alone.
UnfinishedWrite finishWrite(FileOps& ops, const std::filesystem::path& folder);

}  // namespace orb::io
