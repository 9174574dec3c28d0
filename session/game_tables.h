#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/tdf.h"
#include "io/vfs/composite_virtual_file_system.h"
#include "session/build_menus.h"
#include "session/table_entry.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// Where files of a table lie: all ".tdf" files of a directory, or the one of that name.
struct TableFiles {
    std::string_view directory;
    /// Empty: all.
    std::string_view fileName;
    /// Those in all folders below the directory too.
    bool withSubfolders = false;
};

/// The sections of a family of files by upper-cased name, every layer's declarations kept. Borrows
/// the layers.
class NamedTable {
public:
    /// All declarations of each name, in the order of the sources and within them of the layers.
    using NameIndex = std::map<std::string, std::vector<const TableEntry*>, std::less<>>;
    /// The name under which the game finds a section.
    using EntryName = std::string (*)(std::string_view sectionName, const io::TdfSection& section);

    /// Empty; `sources` must outlive it.
    NamedTable(std::span<const TableFiles> sources, EntryName entryName)
        : sources_(sources), entryName_(entryName) {}
    NamedTable(NamedTable&&) = default;
    NamedTable& operator=(NamedTable&&) = default;

    /// Reads the files of every layer; later, with the same layers, of those only that may have
    /// changed. A damaged file is logged and left out, and so is one of more than 8 MiB and what of
    /// one layer goes beyond 256 levels of folders, 4,096 folders or 32 MiB of text.
    void read(const io::CompositeVirtualFileSystem& files, const LayerFilter& mayHaveChanged);

    /// The first declaration of a name in any case that no other file hides, or null.
    const TableEntry* find(std::string_view name) const;

    /// All declarations of a name in any case; empty when there is none.
    std::span<const TableEntry* const> declarations(std::string_view name) const;
    const NameIndex& declarations() const { return byName_; }

    /// Every declaration that no other file hides, in the order of the sources, in each of the
    /// layers, in these of the files by path and in a file as written.
    std::vector<const TableEntry*> visible() const;

private:
    struct TableFile {
        std::string upperCasedPath;
        std::vector<TableEntry> entries;
    };
    /// What one layer holds of one source, in the order of the paths.
    using LayerPart = std::vector<TableFile>;

    std::shared_ptr<LayerPart> readPart(const io::VfsLayer& layer, const TableFiles& source) const;
    void readFolder(const io::VfsLayer& layer, const std::string& folder, std::string_view fileName,
                    LayerPart& part, std::size_t& bytesLeft) const;
    /// Fills the index from what was read.
    void buildIndex();

    std::span<const TableFiles> sources_;
    EntryName entryName_;
    /// For each source, each layer's part.
    std::vector<std::shared_ptr<LayerPart>> parts_;
    NameIndex byName_;
};

/// What the game's text tables declare.
struct GameTables {
    GameTables();

    /// Reads all of them, as `NamedTable::read` does.
    void read(const io::CompositeVirtualFileSystem& files, const LayerFilter& mayHaveChanged);

    /// weapons/*.tdf and weapons.tdf, by section name. Explosions are weapons too.
    NamedTable weapons;
    /// moveinfo.tdf, by the section's `Name` value, else by its own name.
    NamedTable movementClasses;
    /// sound.tdf and allsound.tdf: the sound categories, by section name.
    NamedTable soundCategories;
    /// The .tdf files in features/ and every folder below it: what stands on maps, wrecks among it.
    NamedTable features;
    /// gamedata/sidedata.tdf: the sides, and what their builders build.
    NamedTable sideData;
    /// download/*.tdf: the places of further units in the build menus.
    NamedTable downloads;
    /// From the last two.
    BuildMenus buildMenus;
};

}  // namespace orb::unitview
