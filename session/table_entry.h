#pragma once

#include <string>

#include "io/formats/tdf.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// One section of a game table file, as one layer declares it.
struct TableEntry {
    /// The name under which the game finds it, as written.
    std::string name;
    LayerFile file;
    /// A layer above holds a file of the same path, so the game never reads this one.
    bool isShadowed = false;
    io::TdfSection section;
};

}  // namespace orb::unitview
