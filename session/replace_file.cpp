#include "session/replace_file.h"

#include <fstream>
#include <stdexcept>

#include "io/path_text.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTemporarySuffix = ".orb-write-tmp";

/// Opening a pipe or a device could hang or do harm.
bool isSpecialFile(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

bool canBeWritten(const fs::path& path) {
    if (isSpecialFile(path)) return false;
    std::error_code error;
    if (!fs::exists(path, error)) return true;
    return std::ofstream(path, std::ios::binary | std::ios::in | std::ios::out).is_open();
}

/// False when the file cannot be opened.
bool write(const fs::path& path, std::string_view contents, bool& isComplete) {
    if (isSpecialFile(path)) return false;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) return false;
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    file.close();
    isComplete = !file.fail();
    return true;
}

}  // namespace

void replaceFile(const fs::path& path, std::string_view contents) {
    const auto fail = [&](const char* what) {
        throw std::runtime_error(what + io::textFromPath(path));
    };
    fs::path temporary = path;
    temporary += kTemporarySuffix;
    bool isComplete = false;
    if (!canBeWritten(path) || !write(temporary, contents, isComplete)) fail("open for write: ");
    std::error_code error;
    if (isComplete) fs::rename(temporary, path, error);
    if (isComplete && !error) return;
    fs::remove(temporary, error);
    // A folder may refuse renames onto a file that another program holds open.
    if (!isComplete || !write(path, contents, isComplete) || !isComplete) fail("write failed: ");
}

}  // namespace orb::unitview
