#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orb::io {

/// A path from UTF-8 text, as requests carry it, or from a name in game data. Where the platform's
/// names are Unicode, one that is not UTF-8 is read as game text; elsewhere the bytes are kept.
std::filesystem::path pathFromText(std::string_view text);

/// A path as text for replies and log lines: UTF-8 with slashes between the components where the
/// platform's names are Unicode, else the raw bytes.
std::string textFromPath(const std::filesystem::path& path);

/// A folder's path without separators at its end, with which Windows finds nothing.
std::filesystem::path withoutEndSlash(const std::filesystem::path& folder);

/// True for the names that Windows, whatever their extension, takes for devices. What is to be
/// given to others has none of them on any platform.
bool isDeviceName(std::string_view name);

/// True when the platform gives a file this name as it stands. Windows drops dots and blanks at the
/// end, and takes some names, whatever their extension, for devices.
bool isFileName(std::string_view name);

}  // namespace orb::io
