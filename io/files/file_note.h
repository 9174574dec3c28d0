#pragma once

#include <filesystem>
#include <string>

namespace orb::io {

/// A short text that stays with a file, beside its content, where the file system keeps such texts
/// (on Linux as an extended attribute); elsewhere there is none. Copies of the file lack it.
void setFileNote(const std::filesystem::path& file, const std::string& text);

/// Empty without one.
std::string fileNote(const std::filesystem::path& file);

}  // namespace orb::io
