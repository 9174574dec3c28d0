#pragma once

#include "io/formats/palette.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview {

/// Takes the game's palette file into `palette`, or the grey ramp when there is none, and logs
/// which. A damaged one is a warning in the log and leaves the grey ramp too.
void readGamePalette(const io::AbstractVirtualFileSystem& files, io::Palette& palette);

}  // namespace orb::unitview
