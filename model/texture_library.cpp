#include "model/texture_library.h"

#include <stdexcept>

#include "io/ascii.h"
#include "io/out_of_memory.h"
#include "model/png_picture.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

using TexturePtr = std::shared_ptr<const Texture>;

/// A texture that is still to be read: its place in the answer and in its file.
struct Pending {
    std::size_t position;
    const GafEntryRef* ref;
};

/// Empty, with a warning in the log, when the file has gone or gone bad since it was listed.
io::Bytes readFileOrWarn(const io::CompositeVirtualFileSystem& files, const std::string& path) {
    try {
        return files.readFile(path).value_or(io::Bytes());
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        LogLine(LogLevel::warn) << "[textures] cannot read '" << path << "': " << error.what();
        return {};
    }
}

TexturePtr readTexture(io::ByteView file, const GafEntryRef& ref, const std::string& name) {
    io::GafPicture picture = io::readGafPicture(file, ref.index);
    requireGafName(picture.name, name);
    if (picture.firstFrame.pixels.empty()) throw std::runtime_error("texture has no pixels");
    Texture texture;
    texture.name = std::move(picture.name);
    texture.path = ref.path;
    texture.frameCount = picture.frameCount;
    texture.picture = std::move(picture.firstFrame);
    for (const std::uint8_t pixel : texture.picture.pixels) ++texture.histogram[pixel];
    return std::make_shared<const Texture>(std::move(texture));
}

/// Null, with a warning in the log, when the entry cannot be read.
TexturePtr readOrWarn(io::ByteView file, const GafEntryRef& ref, const std::string& name) {
    try {
        return readTexture(file, ref, name);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        LogLine(LogLevel::warn) << "[textures] cannot read '" << name << "' from '" << ref.path
                                << "': " << error.what();
        return nullptr;
    }
}

/// The texture, or null when it exceeds what one model may have.
TexturePtr admitted(TexturePtr texture, std::size_t& pixelsLeft) {
    if (texture && texture->totalPixels() > pixelsLeft) {
        LogLine(LogLevel::warn) << "[textures] no room for '" << texture->name << "'";
        return nullptr;
    }
    if (texture) pixelsLeft -= texture->totalPixels();
    return texture;
}

}  // namespace

std::size_t Texture::teamPixels() const {
    std::size_t count = 0;
    for (const io::TeamBand& band : io::kTeamBands)
        for (std::size_t index = band.first; index <= band.last; ++index) count += histogram[index];
    return count;
}

std::vector<TexturePtr> TextureLibrary::find(std::span<const std::string> names) const {
    std::vector<TexturePtr> textures(names.size());
    std::map<std::string, std::vector<Pending>> pendingByFile;
    std::size_t pixelsLeft = kMaxTexturePixels;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (const auto cached = cache_.find(io::upperCased(names[i])); cached != cache_.end())
            textures[i] = admitted(cached->second.texture, pixelsLeft);
        else if (const GafEntryRef* const ref = index_.find(names[i]))
            pendingByFile[ref->path].push_back({i, ref});
    }
    for (const auto& [path, pending] : pendingByFile) {
        const io::Bytes file = readFileOrWarn(*files_, path);
        for (const auto& [position, ref] : pending) {
            TexturePtr texture = readOrWarn(file, *ref, names[position]);
            if (texture) store({texture, nullptr});
            textures[position] = admitted(std::move(texture), pixelsLeft);
        }
    }
    return textures;
}

TextureSet TextureLibrary::encode(std::span<const std::string> names,
                                  const io::Palette& palette) const {
    TextureSet set;
    const std::vector<TexturePtr> textures = find(names);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (textures[i]) set[io::upperCased(names[i])] = {names[i], pngOf(textures[i], palette)};
    return set;
}

std::shared_ptr<const io::Bytes> TextureLibrary::pngOf(const TexturePtr& texture,
                                                       const io::Palette& palette) const {
    const auto cached = cache_.find(io::upperCased(texture->name));
    if (cached != cache_.end() && cached->second.png && cached->second.palette == palette)
        return cached->second.png;

    auto png = std::make_shared<const io::Bytes>(pngFromGafFrame(texture->picture, palette).png);
    store({texture, png, palette});
    return png;
}

// Dropping everything at once is good enough: what one unit shows rarely fills a tenth of it.
void TextureLibrary::store(CachedTexture entry) const {
    const auto sizeOf = [](const CachedTexture& cached) {
        return cached.texture->totalPixels() + (cached.png ? cached.png->size() : 0);
    };
    const std::string key = io::upperCased(entry.texture->name);
    if (const auto old = cache_.find(key); old != cache_.end()) {
        cachedBytes_ -= sizeOf(old->second);
        cache_.erase(old);
    }
    const std::size_t size = sizeOf(entry);
    if (cachedBytes_ + size > kMaxTextureCacheBytes) {
        cache_.clear();
        cachedBytes_ = 0;
    }
    cachedBytes_ += size;
    cache_.emplace(key, std::move(entry));
}

}  // namespace orb::unitview
