#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "io/files/file_ops.h"

/// Writing several files as one, also where the process dies between two of them: once all new
/// contents lie beside their places, a plan in the folder that holds them all (a mod) names them,
/// and whoever finds such a plan moves what is left into place, or puts back what was there.
namespace orb::io {

struct PlannedFile {
    /// Where it is a link, the file that it leads to is meant. The new content is in that file's
    /// temporary sibling, the old one, once that is replaced, beside it too.
    std::filesystem::path target;
    /// io::fileVersion of what was there; none for a new file.
    std::optional<std::string> oldVersion;
    std::string newVersion;
};

/// The plan of a write of files in that folder and those below.
std::filesystem::path planPath(const std::filesystem::path& folder);

/// What is appended to a file's name for its old content while others are being written.
std::filesystem::path oldContentPath(const std::filesystem::path& target);

/// False when there is none then, as for more than 64 files: the write goes on without.
bool writePlan(FileOps& ops, const std::filesystem::path& plan, std::span<const PlannedFile> files);

enum class UnfinishedWrite {
    none,
    /// All of its files are the new ones now.
    finished,
    /// All of its files are the old ones again: the process died while it undid what had failed.
    undone,
    /// Its files were changed meanwhile, or their contents are lost: they stay as they are, and so
    /// does the plan, "-given-up" appended to its name.
    givenUp,
    /// Another process is writing in the folder.
    busy
};

/// Finishes or undoes the write that a process began in a folder before it died. One that is under
/// way is left alone, and so are files elsewhere than in that folder or one of the others.
UnfinishedWrite finishWrite(FileOps& ops, const std::filesystem::path& folder,
                            std::span<const std::filesystem::path> otherFolders = {});

}  // namespace orb::io
