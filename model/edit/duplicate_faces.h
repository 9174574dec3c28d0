#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "io/formats/model3do.h"

namespace orb::unitview {

/// How faces lie in one another's place.
enum class DuplicateKind {
    same,      ///< the same corners in the same order round
    opposite,  ///< the same corners in reversed order, and none of them a twin
    overlap    ///< in one plane, facing the same way, with a common part: they flicker
};

struct DuplicateGroup {
    DuplicateKind kind = DuplicateKind::same;
    /// Ascending. All of them, of both orders when opposite; two that overlap, each of them the
    /// first of those that are the same.
    std::vector<std::size_t> faces;
    /// The common part of the smaller one's area; 1 unless they overlap.
    double share = 1;
};

/// Corners within so many model units of each other are the same.
inline constexpr double kDefaultTolerance = 0.001;
/// A common part counts from this share of the smaller face's area on.
inline constexpr double kLeastOverlap = 0.01;

struct DuplicateFaces {
    /// Kind by kind, and by their faces.
    std::vector<DuplicateGroup> groups;
    /// False when too many faces lie in one place to compare them all; no group is an overlap then.
    bool areOverlapsKnown = true;
};

/// Searches among the faces of one piece that are drawn and not another face's twin.
DuplicateFaces findDuplicates(const io::Model3doObject& piece, double tolerance);

/// Its groups of kind `same` alone.
std::vector<DuplicateGroup> findSameFaces(const io::Model3doObject& piece, double tolerance);

}  // namespace orb::unitview
