#pragma once

#include <string>
#include <variant>
#include <vector>

#include "io/archive/hpi_archive.h"
#include "io/formats/palette.h"
#include "model/png_picture.h"

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

struct ArchivePreview {
    /// As stored in the archive.
    std::string internalPath;
    /// Decoded length of the whole file in bytes.
    std::size_t size = 0;
    /// The preview does not show the whole file.
    bool truncated = false;
    std::variant<TextPreview, PngPicture, ModelPreview, ScriptPreview, BinaryPreview> content;
};

/// Decodes a file as its name's extension says; text is cut at `maxBytes`. A damaged picture, model
/// or script throws its reader's text; a file that is not there RequestError "not in archive: …".
ArchivePreview previewArchiveFile(const io::HpiArchive& archive, const std::string& internalPath,
                                  std::size_t maxBytes, const io::Palette& palette);

}  // namespace orb::unitview
