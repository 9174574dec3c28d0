#include "model/build_pictures.h"

#include <stdexcept>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/gaf.h"
#include "io/formats/pcx.h"
#include "io/formats/png.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kExtensions[] = {".pcx", ".gaf", ".png"};

std::string_view withoutExtension(std::string_view name) {
    for (const std::string_view extension : kExtensions)
        if (io::endsWithIgnoringCase(name, extension))
            return name.substr(0, name.size() - extension.size());
    return name;
}

std::string picturePath(std::string_view name, std::string_view ending) {
    return fmt::format("unitpics/{}{}", withoutExtension(name), ending);
}

io::Bytes readPicture(const io::CompositeVirtualFileSystem& files, const std::string& path) {
    auto bytes = files.readFile(path);
    if (!bytes) throw std::runtime_error("build picture not found: " + path);
    return std::move(*bytes);
}

PngPicture decodePicture(io::Bytes bytes, const BuildPictureSource& source,
                         const io::Palette& palette) {
    if (source.format == "pcx") return pngFromPcx(bytes);
    if (source.format == "gaf")
        return pngFromGafFrame(io::readGafPicture(bytes, source.gafIndex).firstFrame, palette);
    const auto [width, height] = io::readPngSize(bytes);
    return {width, height, std::move(bytes)};
}

}  // namespace

std::vector<BuildPictureSource> findBuildPictures(const io::CompositeVirtualFileSystem& files,
                                                  const GafIndex& animations,
                                                  std::string_view name) {
    std::vector<BuildPictureSource> sources;
    const auto has = [&](std::string_view ending) {
        return files.locate(picturePath(name, ending)).has_value();
    };
    if (has(".pcx")) sources.push_back({"pcx", picturePath(name, ".pcx")});
    if (has(".gaf"))
        sources.push_back({"gaf", picturePath(name, ".gaf")});
    else if (const GafEntryRef* const entry = animations.find(withoutExtension(name)))
        sources.push_back({"gaf", entry->path, entry->index});
    const std::string png = picturePath(name, ".png");
    if (!has(".png")) return sources;
    if (has("_pressed.png") && has("_disabled.png")) sources.push_back({"png-triplet", png});
    sources.push_back({"png", png});
    return sources;
}

PngPicture readBuildPicture(const io::CompositeVirtualFileSystem& files,
                            const BuildPictureSource& source, const io::Palette& palette) {
    io::Bytes bytes = readPicture(files, source.path);
    try {
        return decodePicture(std::move(bytes), source, palette);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}: {}", source.path, error.what()));
    }
}

bool isReadable(const io::CompositeVirtualFileSystem& files, const BuildPictureSource& source) {
    try {
        const io::Bytes bytes = readPicture(files, source.path);
        const auto hasPixels = [](const auto& size) { return size.width > 0 && size.height > 0; };
        if (source.format == "pcx") return hasPixels(io::parsePcx(bytes));
        if (source.format == "gaf")
            return hasPixels(io::readGafPicture(bytes, source.gafIndex).firstFrame);
        return hasPixels(io::readPngSize(bytes));
    } catch (const std::exception&) {
        return false;
    }
}

std::optional<ButtonPictures> readButtonPictures(const io::CompositeVirtualFileSystem& files,
                                                 std::string_view name) {
    auto normal = files.readFile(picturePath(name, ".png"));
    if (!normal) return std::nullopt;
    return ButtonPictures{std::move(*normal), files.readFile(picturePath(name, "_pressed.png")),
                          files.readFile(picturePath(name, "_disabled.png"))};
}

}  // namespace orb::unitview
