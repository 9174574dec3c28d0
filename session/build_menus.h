#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/fbi.h"
#include "session/table_entry.h"

namespace orb::unitview {

class NamedTable;
struct GameTables;

/// One unit that the menus let a builder build.
struct BuildMenuEntry {
    /// As written; whether there is such a unit is another question.
    std::string unit;
    /// The menu's page and the place on it, for a unit that a file of its own adds.
    std::optional<std::int32_t> menu, button;
    /// The file that says so. It lives as long as the table.
    const LayerFile* file = nullptr;
};

/// What builders may build beside what their own definitions list: the sections of [CANBUILD] in
/// gamedata/sidedata.tdf, each named after a builder (canbuild1=UNIT; canbuild2=UNIT; ...), and the
/// sections of download/*.tdf, each for one unit (UNITMENU=BUILDER; UNITNAME=UNIT; MENU=1;
/// BUTTON=2). What names no builder or no unit is left out.
class BuildMenus {
public:
    /// The entries of each upper-cased builder: by their numbers, then in the order of files.
    using BuilderIndex = std::map<std::string, std::vector<BuildMenuEntry>, std::less<>>;

    /// Replaces what was read before. The entries borrow from the tables.
    void read(const NamedTable& sideData, const NamedTable& downloads);

    /// The entries of a builder in any case.
    std::span<const BuildMenuEntry> of(std::string_view builder) const;
    const BuilderIndex& builders() const { return builders_; }

private:
    void readSideData(const TableEntry& canBuild);
    void readDownload(const TableEntry& entry);

    BuilderIndex builders_;
};

/// The [CANBUILD] section that the game reads, if it names the unit as builder or as built; else
/// null.
const TableEntry* findCanBuild(const GameTables& tables, std::string_view unit);

/// All that a unit may build: what its definition lists, as it does, and then what the menus add.
std::vector<std::string> buildableUnits(const io::FbiUnitInfo& definition,
                                        std::span<const BuildMenuEntry> menu);

}  // namespace orb::unitview
