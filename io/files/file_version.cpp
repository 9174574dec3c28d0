#include "io/files/file_version.h"

#include <algorithm>
#include <cstdint>
#include <fstream>

#include <fmt/format.h>

#include "io/content_version.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kSampledBytes = 1 << 20;

std::string versionOf(std::uint64_t size, ByteView first, ByteView last) {
    return fmt::format("{}-{}-{}", size, contentVersion(first), contentVersion(last));
}

std::uint64_t sampleOf(std::uint64_t size) {
    return std::min(size, kSampledBytes);
}

}  // namespace

std::string fileVersion(ByteView content) {
    const auto sample = static_cast<std::size_t>(sampleOf(content.size()));
    return versionOf(content.size(), content.first(sample), content.last(sample));
}

std::optional<std::string> fileVersion(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::not_found) return std::nullopt;
    if (!fs::is_regular_file(status)) return "";
    const std::uintmax_t size = fs::file_size(file, error);
    std::ifstream stream(file, std::ios::binary);
    const auto sample = static_cast<std::size_t>(sampleOf(size));
    Bytes first(sample), last(sample);
    const auto read = [&](std::uintmax_t offset, Bytes& into) {
        stream.seekg(static_cast<std::streamoff>(offset));
        stream.read(reinterpret_cast<char*>(into.data()),
                    static_cast<std::streamsize>(into.size()));
    };
    if (error || !stream) return "";
    read(0, first);
    read(size - sample, last);
    return stream ? versionOf(size, first, last) : "";
}

}  // namespace orb::io
