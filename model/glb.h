#pragma once

#include "io/byte_cursor.h"
#include "io/formats/model3do.h"
#include "io/formats/palette.h"
#include "model/team_color.h"
#include "model/texture_library.h"

namespace orb::unitview {

/// Converts a model to a binary glTF 2.0 file. Nodes are the pieces in the order of flattenPieces;
/// every face is a primitive whose extras hold its index in its piece. `textures` are in the
/// colours that the file is to show; a face whose texture is not among them is grey. Throws
/// std::runtime_error "model too large to draw".
io::Bytes model3doToGlb(const io::Model3doObject& model, const TextureSet& textures,
                        const io::Palette& palette, const TeamColor& team);

/// A model on its way to a viewer.
struct ExportedModel {
    io::Bytes glb;
    std::size_t pieceCount = 0;
    /// Textures in the file.
    std::size_t textureCount = 0;
};

/// Converts a model with what the library has of its textures.
ExportedModel exportModel(const io::Model3doObject& model, const TextureLibrary& library,
                          const io::Palette& palette, const TeamColor& team);

}  // namespace orb::unitview
