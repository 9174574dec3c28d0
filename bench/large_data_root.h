#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace orb::bench {

struct LargeDataRootOptions {
    std::size_t units = 3000;
    std::size_t archives = 40;
    /// Textures and sounds that do not compress, of all archives together. With the default units
    /// the archives are 220 MB on disk.
    std::uint64_t noiseBytes = 160'000'000;
};

/// Data roots of the size of a game with many mods, made of noise and plausible texts.
struct LargeDataRoot {
    std::filesystem::path game;
    /// Small mods: each overrides some units and declares names that others declare too.
    std::vector<std::filesystem::path> mods;
};

/// Where the benchmarks keep their data roots from one run to the next.
std::filesystem::path dataFolder();

/// Makes the data roots below `directory`, or finds them there when an earlier call with the same
/// options finished. The same options give the same bytes. Units are called UNIT0000 and so on,
/// their weapons WEAPON0000. Throws std::runtime_error or a file system error when writing fails.
LargeDataRoot makeLargeDataRoot(const std::filesystem::path& directory,
                                const LargeDataRootOptions& options = {});

}  // namespace orb::bench
