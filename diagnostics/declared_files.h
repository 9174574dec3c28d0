#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "session/game_tables.h"
#include "session/unit_catalogue.h"

namespace orb::unitview {

/// The readable locations of the definitions whose `UnitName` is `name`, in any case, of all
/// layers: the winner in front, the others in layer order.
std::vector<std::string> declaringFiles(const UnitCatalogue& catalogue, std::string_view name);

/// The same for declarations of one name in a table.
std::vector<std::string> declaringFiles(std::span<const TableEntry* const> declarations);

}  // namespace orb::unitview
