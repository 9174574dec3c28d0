#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

namespace orb::bench {

struct LargeDataRootOptions {
    std::size_t units = 3000;
    std::size_t archives = 40;
    /// Textures and sounds that do not compress, of all archives together. With the default units
    /// the archives are 220 MB on disk.
    std::uint64_t noiseBytes = 160'000'000;
    /// The game's files lie loose instead, as modders have them: see `loosePath`.
    bool isLoose = false;
};

/// A game of that many units in loose files.
inline LargeDataRootOptions looseFiles(std::size_t units) {
    return {.units = units, .noiseBytes = 1'000'000, .isLoose = true};
}

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

/// Where a file of a loose game lies: its folder in capitals and its name in small letters, so that
/// no file is found under the spelling by which it is asked for.
std::filesystem::path loosePath(const std::filesystem::path& game, std::string_view path);

}  // namespace orb::bench
