#include "diagnostics/declared_files.h"

#include <algorithm>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

/// The locations of declarations that stand in layer order; the winner is the first one that no
/// file of the same path hides.
template <typename Declaration>
std::vector<std::string> winnerFirst(std::vector<const Declaration*> declarations) {
    const auto winner = std::ranges::find(declarations, false, &Declaration::isShadowed);
    if (winner != declarations.end()) std::rotate(declarations.begin(), winner, std::next(winner));
    std::vector<std::string> files;
    files.reserve(declarations.size());
    for (const Declaration* declaration : declarations)
        files.push_back(locationText(declaration->file.location()));
    return files;
}

}  // namespace

std::vector<std::string> declaringFiles(const UnitCatalogue& catalogue, std::string_view name) {
    const auto found = catalogue.declarations().find(io::upperCased(name));
    if (found == catalogue.declarations().end()) return {};
    std::vector<const UnitDeclaration*> declarations = found->second;
    // A file without the key goes by its own name, but declares none.
    std::erase_if(declarations,
                  [](const UnitDeclaration* unit) { return unit->info.unitName.empty(); });
    return winnerFirst(std::move(declarations));
}

std::vector<std::string> declaringFiles(std::span<const TableEntry* const> declarations) {
    return winnerFirst(std::vector(declarations.begin(), declarations.end()));
}

}  // namespace orb::unitview
