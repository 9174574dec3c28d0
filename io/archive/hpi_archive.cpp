#include "io/archive/hpi_archive.h"

#include <array>
#include <bit>
#include <utility>

#include "io/archive/hpi_format.h"
#include "io/path_text.h"

namespace orb::io {

HpiArchive::HpiArchive(std::filesystem::path path) : path_(std::move(path)) {
    HpiReader header(path_, 0);
    readHeader(header);
    // An end before the start wraps to a size that no file has.
    const std::uint64_t size = std::uint64_t{directoryEnd_} - directoryStart_;
    root_ = parseHpiDirectory(openReader().readAt(directoryStart_, size), directoryStart_);
    index_.emplace(root_);
}

void HpiArchive::readHeader(HpiReader& reader) {
    std::array<std::uint8_t, kHpiHeaderSize> bytes{};
    constexpr std::size_t kIdentitySize = 8;
    const std::span<std::uint8_t> identity(bytes.data(), kIdentitySize);
    const std::span<std::uint8_t> rest = std::span(bytes).subspan(kIdentitySize);

    ByteCursor header(bytes, "HPI header too small");
    if (!reader.readRaw(0, identity) || header.u32() != kHpiMagic)
        throw std::runtime_error("Not a valid HPI file (bad magic): " + textFromPath(path_));
    const std::uint32_t version = header.u32();
    isBank_ = version == kHpiBankVersion;
    if (!isBank_ && version != kHpiVersion)
        throw std::runtime_error("Unsupported HPI version: " + textFromPath(path_));
    if (!reader.readRaw(kIdentitySize, rest))
        throw std::runtime_error("HPI header read error: " + textFromPath(path_));
    directoryEnd_ = header.u32();
    readKey_ = std::rotl(static_cast<std::uint8_t>(header.u32()), 2);
    directoryStart_ = header.u32();
}

/// The entries of the directory that the names lead to from the root, or null.
const HpiEntries* HpiArchive::walk(std::span<const std::string_view> names,
                                   std::string* storedPath) const {
    const HpiEntries* directory = &root_.entries;
    for (const std::string_view name : names) {
        const HpiEntry* const entry = index_->findDirectory(*directory, name);
        if (!entry) return nullptr;
        if (storedPath) storedPath->append(entry->name) += '/';
        directory = entry->directory();
    }
    return directory;
}

const HpiEntry* HpiArchive::findFile(const VirtualPath& path, std::string* storedPath) const {
    const auto names = path.components();
    if (names.empty()) return nullptr;
    const HpiEntries* const directory = walk(names.first(names.size() - 1), storedPath);
    const HpiEntry* const file = directory ? index_->findFile(*directory, names.back()) : nullptr;
    if (file && storedPath) *storedPath += file->name;
    return file;
}

std::optional<std::string> HpiArchive::storedPath(const VirtualPath& path) const {
    std::string stored;
    if (!findFile(path, &stored)) return std::nullopt;
    return stored;
}

Bytes HpiArchive::readFile(const HpiEntry& file) const {
    return openReader().readFile(std::get<HpiFileEntry>(file.content));
}

}  // namespace orb::io
