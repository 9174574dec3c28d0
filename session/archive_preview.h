#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "io/formats/palette.h"
#include "model/png_picture.h"
#include "model/texture_library.h"

namespace orb::unitview {

struct TextPreview {
    /// UTF-8.
    std::string text;
};
struct ModelPreview {
    std::vector<std::string> pieces;
    std::size_t vertexCount = 0;
    std::size_t primitiveCount = 0;
};
struct ScriptPreview {
    std::vector<std::string> scripts;
    std::vector<std::string> pieces;
};
struct BinaryPreview {
    /// Of the first 256 bytes, lower-case.
    std::string hex;
};

struct SoundPreview {
    /// The whole WAVE file.
    io::Bytes wave;
};

/// An entry of an animation file.
struct GafEntryPreview {
    std::string name;
    std::size_t frames = 0;
    /// Of the first frame; 0 when it cannot be read.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// How a file is to be shown beside what its name says.
struct PreviewOptions {
    /// Text is cut there.
    std::size_t maxBytes = 0;
    enum class Form { usual, glb, wave };
    Form form = Form::usual;
    /// Of an animation file: one entry, by name or by number, and one of its frames.
    std::optional<std::string> entryName = {};
    std::size_t entry = 0;
    std::size_t frame = 0;
};

struct ArchivePreview {
    /// As stored in the archive.
    std::string internalPath;
    /// Decoded length of the whole file in bytes.
    std::uint64_t size = 0;
    /// The preview does not show the whole file.
    bool truncated = false;
    std::variant<TextPreview, PngPicture, ModelPreview, ScriptPreview, BinaryPreview, SoundPreview>
        content;
    /// Of an animation file.
    std::optional<std::vector<GafEntryPreview>> entries = {};
    /// A model as binary glTF, when that is asked for.
    std::optional<io::Bytes> glb = {};
};

/// What pictures and models are shown with.
struct PreviewColors {
    const io::Palette& palette;
    const TextureLibrary& textures;
};

/// So much of a file is read to be shown. No model, sound or picture of the game comes near it.
inline constexpr std::size_t kMaxPreviewBytes = 64 << 20;

/// Decodes a file of `size` bytes, of which `bytes` are the first kMaxPreviewBytes or all, as its
/// name's extension says. A damaged picture, model or script throws its
/// reader's text; what it does not hold RequestError "no such entry: …", "no such frame: …", "not a
/// model: …", "not a sound: …" or "too large to show: …".
ArchivePreview previewFile(const std::string& path, const io::Bytes& bytes, std::uint64_t size,
                           const PreviewOptions& options, const PreviewColors& colors);

}  // namespace orb::unitview
