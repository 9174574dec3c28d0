#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "session/unit_view_session.h"

namespace orb::unitview {

enum class ConflictKind {
    unitNameCollision,
    weaponNameCollision,
    missingModel,
    missingScript,
    missingBuildPicture,
    missingCorpse,
    missingWeapon,
    missingExplosion,
};

/// Whether the game goes wrong or merely lacks something.
enum class ConflictSeverity { warn, info };
ConflictSeverity severityOf(ConflictKind kind);

/// A name that several files claim, or something that a unit refers to and nobody has. Members
/// that a kind of finding has no use for are empty.
struct ConflictFinding {
    ConflictKind kind;
    std::string unitName = {};
    /// The readable location of the unit's definition.
    std::string unitFile = {};
    /// A path like "objects3d/NAME.3do", or the name that is referred to.
    std::string asset = {};
    /// Of a collision: the readable locations of all declaring files, the winner in front.
    std::vector<std::string> files = {};
    std::string detail = {};
};

/// Looks through everything that is mounted: first collisions of unit names, then of weapon names,
/// both in the byte order of the upper-cased names, then what each unit of the roster lacks.
std::vector<ConflictFinding> scanConflicts(const MountedData& data,
                                           const io::Progress& progress = {});

}  // namespace orb::unitview
