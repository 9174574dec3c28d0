#pragma once

#include "io/formats/gaf.h"
#include "samples/builder/canvas.h"

namespace orb::samples {

/// What drawings refer to by name.
struct ArtContext {
    const NamedPalette& palette;
    const ModelSet& models;
};

/// A drawing that begins with "image WIDTH HEIGHT", and "24-bit" behind it for true colours.
Canvas parseImage(SourceText& source, const ArtContext& context);

/// Entries of frames, each frame a drawing.
io::GafFile parseGafText(SourceText& source, const ArtContext& context);

io::Bytes writePcxFile(const Canvas& canvas, const NamedPalette& palette);
io::Bytes writePngFile(const Canvas& canvas, const NamedPalette& palette);

}  // namespace orb::samples
