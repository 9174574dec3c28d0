#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/fbi.h"
#include "io/vfs/composite_virtual_file_system.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// One unit definition file of one layer.
struct UnitDeclaration {
    /// The `UnitName` value, or the file's stem when that is empty.
    std::string name;
    /// The file's name without its extension, as stored.
    std::string fileStem;
    LayerFile file;
    /// A layer above holds a file of the same path, or the folder another spelling of it that comes
    /// first: the game never reads this one.
    bool isShadowed = false;
    io::FbiUnitInfo info;
};

/// Every unit definition of every layer, shadowed ones included, so that collisions can be told.
/// Borrows the layers.
class UnitCatalogue {
public:
    UnitCatalogue() = default;
    UnitCatalogue(UnitCatalogue&&) = default;
    UnitCatalogue& operator=(UnitCatalogue&&) = default;

    /// Reads units/*.fbi of every layer; later, with the same layers, of those only that may have
    /// changed. A damaged file is logged and left out.
    void read(const io::CompositeVirtualFileSystem& files, const LayerFilter& mayHaveChanged);

    /// The units that the game sees: the winning declaration of each name, in the byte order of the
    /// upper-cased names.
    const std::vector<const UnitDeclaration*>& roster() const { return roster_; }

    /// All declarations of each upper-cased name, in layer order.
    using NameIndex = std::map<std::string, std::vector<const UnitDeclaration*>, std::less<>>;
    const NameIndex& declarations() const { return byName_; }

    /// The winning declaration of a unit name in any case, or null.
    const UnitDeclaration* find(std::string_view name) const;

    /// The definition that loading `name` reads: the file of that name, else the one that declares
    /// it, in any case; or null.
    const UnitDeclaration* findLoadable(std::string_view name) const;

    /// The path of the definition file that a stem in any case means, where its folder holds
    /// several spellings of the name (io::isPreferredSpelling); else null.
    const std::string* preferredPath(std::string_view stem) const;

    /// The base game's own declaration of a unit, shadowed or not, or null.
    const UnitDeclaration* findBase(std::string_view name) const;

private:
    using PathsByStem = std::map<std::string, std::string, std::less<>>;

    struct LayerUnits {
        /// In the byte order of their file names.
        std::vector<std::unique_ptr<UnitDeclaration>> units;
        /// The upper-cased stem of every definition file, readable or not.
        std::vector<std::string> fileStems;
        /// Of stems in several spellings.
        PathsByStem preferredPaths;
    };

    static std::shared_ptr<LayerUnits> readLayer(const io::VfsLayer& layer);
    /// Fills what is below from what was read.
    void buildIndex();

    std::vector<std::shared_ptr<LayerUnits>> layers_;
    NameIndex byName_;
    /// What the game reads from each file, by upper-cased stem.
    std::map<std::string, const UnitDeclaration*, std::less<>> byFile_;
    /// By upper-cased stem.
    PathsByStem preferredPaths_;
    std::vector<const UnitDeclaration*> roster_;
};

}  // namespace orb::unitview
