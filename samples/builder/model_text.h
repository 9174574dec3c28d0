#pragma once

#include <map>
#include <string>

#include "io/formats/model3do.h"
#include "samples/builder/palette_text.h"

namespace orb::samples {

/// Models by name. Their textured faces have a colour as well, which pictures are drawn with; model
/// files leave it out.
using ModelSet = std::map<std::string, io::Model3doObject>;

/// Reads a model; samples/README.md lists the lines.
io::Model3doObject parseModel(SourceText& source, const NamedPalette& palette);

}  // namespace orb::samples
