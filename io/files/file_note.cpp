#include "io/files/file_note.h"

#ifdef __linux__
#include <array>

#include <sys/xattr.h>
#endif

namespace orb::io {

#ifdef __linux__

namespace {

constexpr const char* kName = "user.orb.note";
constexpr std::size_t kMaxNoteBytes = 1024;

}  // namespace

void setFileNote(const std::filesystem::path& file, const std::string& text) {
    // A note that cannot be changed must not stay as it was.
    if (::setxattr(file.c_str(), kName, text.data(), text.size(), 0) != 0)
        ::removexattr(file.c_str(), kName);
}

std::string fileNote(const std::filesystem::path& file) {
    std::array<char, kMaxNoteBytes> text{};
    const auto size = ::getxattr(file.c_str(), kName, text.data(), text.size());
    return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : std::string();
}

#else

void setFileNote(const std::filesystem::path&, const std::string&) {}

std::string fileNote(const std::filesystem::path&) {
    return {};
}

#endif

}  // namespace orb::io
