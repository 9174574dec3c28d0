#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/tdf.h"
#include "io/vfs/composite_virtual_file_system.h"
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

/// The sections of a family of files by upper-cased name, every layer's declarations kept.
class NamedTable {
public:
    using NameIndex = std::map<std::string, std::vector<TableEntry>, std::less<>>;

    void add(TableEntry entry);

    /// The first declaration of a name in any case that no other file hides, or null.
    const TableEntry* find(std::string_view name) const;

    /// All declarations of a name in any case in layer order; empty when there is none.
    const std::vector<TableEntry>& declarations(std::string_view name) const;
    const NameIndex& declarations() const { return byName_; }

private:
    NameIndex byName_;
};

/// What the game's text tables declare. Borrows the layers.
struct GameTables {
    /// weapons/*.tdf and weapons.tdf, by section name. Explosions are weapons too.
    NamedTable weapons;
    /// moveinfo.tdf, by the section's `Name` value, else by its own name.
    NamedTable movementClasses;
    /// sound.tdf and allsound.tdf: the sound categories, by section name.
    NamedTable soundCategories;
};

/// Reads the tables of every layer. A damaged file is logged and left out.
GameTables readGameTables(const io::CompositeVirtualFileSystem& files);

}  // namespace orb::unitview
