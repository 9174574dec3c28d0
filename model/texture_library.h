#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "io/formats/gaf.h"
#include "io/formats/palette.h"
#include "model/gaf_index.h"

namespace orb::unitview {

/// A texture as the game's files hold it.
struct Texture {
    /// As its file spells it.
    std::string name;
    /// The virtual path of the file.
    std::string path;
    /// The picture that models show: the first frame of the animation.
    io::GafFrame picture;
    std::size_t frameCount = 0;
    /// How many pixels of the picture have each palette index.
    std::array<std::uint32_t, 256> histogram{};

    std::size_t totalPixels() const { return picture.pixels.size(); }
    /// Pixels that take the colour of the owning player.
    std::size_t teamPixels() const;
};

/// A texture in the colours of a palette, see-through where the picture is.
struct TexturePng {
    /// As the model spells it.
    std::string name;
    std::shared_ptr<const io::Bytes> png;
};
/// By upper-cased name.
using TextureSet = std::map<std::string, TexturePng, std::less<>>;

/// Bytes of pictures and PNG files kept between requests.
inline constexpr std::size_t kMaxTextureCacheBytes = std::size_t{64} << 20;
/// Pixels of all textures of one model; those beyond count as missing.
inline constexpr std::size_t kMaxTexturePixels = std::size_t{64} << 20;

/// The textures of the mounted data, from the entries of textures/*.gaf. Keeps what it decoded;
/// not for several threads.
class TextureLibrary {
public:
    /// Borrows the file system.
    explicit TextureLibrary(const io::CompositeVirtualFileSystem& files)
        : files_(&files), index_(files, io::kTextureFiles) {}

    /// The textures of these names in any case, one for each; null for one that is missing or, with
    /// a warning in the log, damaged.
    std::vector<std::shared_ptr<const Texture>> find(std::span<const std::string> names) const;

    /// Where the texture of a name in any case stands; null when it is missing.
    const GafEntryRef* locate(std::string_view name) const { return index_.find(name); }

    /// Those that are there, in the colours of `palette`.
    TextureSet encode(std::span<const std::string> names, const io::Palette& palette) const;

private:
    struct CachedTexture {
        std::shared_ptr<const Texture> texture;
        /// As encoded last, and in which colours; null before the first time.
        std::shared_ptr<const io::Bytes> png;
        io::Palette palette{};
    };

    std::shared_ptr<const io::Bytes> pngOf(const std::shared_ptr<const Texture>& texture,
                                           const io::Palette& palette) const;
    void store(CachedTexture entry) const;

    const io::CompositeVirtualFileSystem* files_;
    GafIndex index_;
    /// By upper-cased name.
    mutable std::unordered_map<std::string, CachedTexture> cache_;
    mutable std::size_t cachedBytes_ = 0;
};

}  // namespace orb::unitview
