#pragma once

#include <set>
#include <string>
#include <vector>

#include "authoring/pack_file.h"
#include "session/unit_dependencies.h"

namespace orb::unitview {

struct MinPackRequest {
    std::vector<std::string> units;
    /// With all that the units can build.
    bool recursive = false;
    PackRequest pack;
};

/// A file of a pack.
struct MinPackFile {
    std::string path;
    std::set<DependencyRole> roles;
    std::set<std::string> usedBy;
    std::uint64_t size = 0;
};

struct MinPackResult {
    WrittenPack pack;
    /// By path.
    std::vector<MinPackFile> files;
    std::vector<LeftOutFile> leftOut;
    std::vector<MissingDependency> missing;
    /// Tables of the base game that the pack replaces as a whole.
    std::vector<std::string> warnings;
};

/// Packs what the units need and the base game does not hold with the same bytes. Of weapons,
/// features and menu entries, which the game reads from whole folders, only those that are needed
/// go into one file each, named after the pack; of movement classes and sounds, which it reads from
/// one file, that file. Throws RequestError: findUnitDependencies', requirePackDestination's and
/// writePack's, or "damaged file: …" and "cannot read: …" for one that would go into the pack.
MinPackResult exportMinModPack(UnitViewSession& session, const MinPackRequest& request,
                               const io::Progress& progress = {},
                               io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
