#include "model/build_pictures.h"

#include <array>
#include <stdexcept>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/gaf.h"
#include "io/formats/pcx.h"
#include "io/formats/png.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kPcx = kBuildPictureEndings[0];
constexpr std::string_view kGaf = kBuildPictureEndings[1];
constexpr std::string_view kPng = kBuildPictureEndings[2];
constexpr std::string_view kPressed = kBuildPictureEndings[3];
constexpr std::string_view kDisabled = kBuildPictureEndings[4];

std::string picturePath(std::string_view name, std::string_view ending) {
    return fmt::format("{}/{}{}", io::kBuildPictureFiles.folder, buildPictureStem(name), ending);
}

io::Bytes readPicture(const io::CompositeVirtualFileSystem& files, const std::string& path) {
    auto bytes = files.readFile(path);
    if (!bytes) throw std::runtime_error(buildPictureNotFound(path));
    return std::move(*bytes);
}

PngPicture decodePicture(io::Bytes bytes, const BuildPictureSource& source,
                         const io::Palette& palette) {
    if (source.format == BuildPictureFormat::pcx) return pngFromPcx(bytes);
    if (source.format == BuildPictureFormat::gaf)
        return pngFromGafFrame(io::readGafPicture(bytes, source.gafIndex).firstFrame, palette);
    const auto [width, height] = io::readPngSize(bytes);
    return {width, height, std::move(bytes)};
}

}  // namespace

std::string_view buildPictureStem(std::string_view name) {
    for (const std::string_view extension : {kPcx, kGaf, kPng})
        if (io::endsWithIgnoringCase(name, extension))
            return name.substr(0, name.size() - extension.size());
    return name;
}

std::string_view formatName(BuildPictureFormat format) {
    static constexpr std::array<std::string_view, 4> kNames = {"pcx", "gaf", "png-triplet", "png"};
    return kNames.at(static_cast<std::size_t>(format));
}

std::string buildPictureNotFound(std::string_view what) {
    return fmt::format("build picture not found: {}", what);
}

std::vector<BuildPictureSource> findBuildPictures(const io::CompositeVirtualFileSystem& files,
                                                  const GafIndex& animations,
                                                  std::string_view name) {
    std::vector<BuildPictureSource> sources;
    const auto has = [&](std::string_view ending) {
        return files.locate(picturePath(name, ending)).has_value();
    };
    if (has(kPcx)) sources.push_back({BuildPictureFormat::pcx, picturePath(name, kPcx)});
    if (has(kGaf))
        sources.push_back({BuildPictureFormat::gaf, picturePath(name, kGaf)});
    else if (const GafEntryRef* const entry = animations.find(buildPictureStem(name)))
        sources.push_back({BuildPictureFormat::gaf, entry->path, entry->index});
    if (!has(kPng)) return sources;
    const std::string png = picturePath(name, kPng);
    if (has(kPressed) && has(kDisabled)) sources.push_back({BuildPictureFormat::pngTriplet, png});
    sources.push_back({BuildPictureFormat::png, png});
    return sources;
}

PngPicture readBuildPicture(const io::CompositeVirtualFileSystem& files,
                            const BuildPictureSource& source, const io::Palette& palette) {
    io::Bytes bytes = readPicture(files, source.path);
    try {
        return decodePicture(std::move(bytes), source, palette);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw std::runtime_error(fmt::format("{}: {}", source.path, error.what()));
    }
}

bool isReadable(const io::CompositeVirtualFileSystem& files, const BuildPictureSource& source) {
    try {
        const io::Bytes bytes = readPicture(files, source.path);
        const auto hasPixels = [](const auto& size) { return size.width > 0 && size.height > 0; };
        if (source.format == BuildPictureFormat::pcx) return hasPixels(io::parsePcx(bytes));
        if (source.format == BuildPictureFormat::gaf)
            return hasPixels(io::readGafPicture(bytes, source.gafIndex).firstFrame);
        return hasPixels(io::readPngSize(bytes));
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return false;
    }
}

std::optional<ButtonPictures> readButtonPictures(const io::CompositeVirtualFileSystem& files,
                                                 std::string_view name) {
    auto normal = files.readFile(picturePath(name, kPng));
    if (!normal) return std::nullopt;
    return ButtonPictures{std::move(*normal), files.readFile(picturePath(name, kPressed)),
                          files.readFile(picturePath(name, kDisabled))};
}

}  // namespace orb::unitview
