#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "io/byte_cursor.h"
#include "io/formats/index_sets.h"

/// Changing the palette indices of one animation where they stand. Neither rows nor codes change
/// their length by it, so every byte that is no pixel stays.
namespace orb::io {

/// The new palette index of each index.
using IndexMap = std::array<std::uint8_t, 256>;

/// Every index stays.
IndexMap identityMap();

/// Finds what a pixel becomes when it must not become `wanted`: an index that is not barred, or
/// none.
using Substitute =
    std::function<std::optional<std::uint8_t>(std::uint8_t wanted, const IndexSet& barred)>;

/// How an entry's frames and subframes use the palette; data that they share count once.
struct GafColorUse {
    std::size_t frameCount = 0;
    std::uint64_t totalPixels = 0;
    /// Of each index, without what is see-through.
    std::array<std::uint64_t, 256> pixels{};
    /// The transparency indices of all frames that show these pixels.
    IndexSet seeThrough;
};

struct GafRecolored {
    Bytes file;
    std::uint64_t changedPixels = 0;
    /// The other entries that show changed pixels, in file order.
    std::vector<std::string> alsoChanges;
};

/// Both throw std::runtime_error "Invalid GAF version" or "GAF data too small", the latter for
/// damage anywhere in the file, since any entry may share what is to be changed, and for files
/// beyond the limits of reading.
GafColorUse readGafColorUse(ByteView file, std::size_t index);

/// Maps the pixels of all frames and subframes of an entry. A pixel stays when it is see-through in
/// a frame that shows it, and never becomes so: there the substitute is taken. Also throws
/// std::runtime_error "GAF pixels overlap its structure" when a byte that would change says in
/// another place where data are or how they go on.
GafRecolored recolorGafEntry(ByteView file, std::size_t index, const IndexMap& map,
                             const Substitute& substitute);

}  // namespace orb::io
