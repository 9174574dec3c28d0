#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/tdf.h"

namespace orb::io {

/// Of a longer list the first so many are kept.
inline constexpr std::size_t kMaxOtaStartPositions = 64;
inline constexpr std::size_t kMaxOtaUnits = 5'000;
inline constexpr std::size_t kMaxOtaFeatures = 65'536;
/// Schemas are numbered from 0; those beyond are left out.
inline constexpr std::uint32_t kMaxOtaSchemas = 64;

/// Where a player begins, in map pixels.
struct OtaStartPosition {
    std::int32_t player = 1;
    std::int32_t x = 0;
    std::int32_t z = 0;
};

/// A unit that stands on the map from the start, in map pixels.
struct OtaUnit {
    std::string name;
    std::int32_t x = 0;
    std::int32_t z = 0;
    std::int32_t player = 1;
    float angleDegrees = 0;
    float healthPercent = 100;
};

/// A feature beside those of the ground's own file, in cells.
struct OtaFeature {
    std::string name;
    std::int32_t cellX = 0;
    std::int32_t cellZ = 0;
};

template <typename Item>
struct OtaList {
    std::vector<Item> kept;
    /// How many the file has.
    std::size_t given = 0;
};

/// One way to play the map.
struct OtaSchema {
    /// The values of its own; no sections.
    TdfSection values;
    OtaList<OtaStartPosition> startPositions;
    OtaList<OtaUnit> units;
    OtaList<OtaFeature> features;
};

/// The description of a map.
struct OtaFile {
    /// The values of [GlobalHeader]; no sections.
    TdfSection header;
    /// By the number in their names.
    std::map<std::uint32_t, OtaSchema> schemas;
    /// [Schema n] sections whose n is none or too high.
    std::size_t schemasLeftOut = 0;
};

/// Never fails: what cannot be read is skipped. Unlike in other texts of this kind, sections of one
/// name that stand for things ([unit18] twice) are all kept; those that hold lists go on.
OtaFile parseOta(std::string_view text);

}  // namespace orb::io
