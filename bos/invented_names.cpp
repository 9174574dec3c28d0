#include "bos/invented_names.h"

#include <algorithm>

#include <fmt/format.h>

#include "bos/words.h"
#include "cob/known_scripts.h"

namespace orb::unitview::bos {

InventedNames::InventedNames(const io::CobFile& cob) {
    for (const std::string& piece : cob.pieces) taken_.insert(piece);
    for (const auto& script : cob.scripts) taken_.insert(script.name);
}

std::string InventedNames::staticVar(std::size_t index) const {
    return unlike(fmt::format("static_{}", index));
}

std::string InventedNames::local(std::string_view script, std::size_t index) const {
    const KnownScript* const known = knownScript(script);
    if (known && index < known->parameters.size() && !known->parameters.at(index).empty())
        return unlike(std::string(known->parameters.at(index)));
    return unlike(fmt::format("local_{}", index));
}

std::string InventedNames::unlike(std::string name) const {
    if (!taken_.contains(name)) return name;
    const auto [known, isNew] = replacements_.try_emplace(name, name + '_');
    std::string& other = known->second;
    if (isNew)
        for (int i = 2; taken_.contains(other); ++i) other = fmt::format("{}_{}", name, i);
    return other;
}

bool answersPiece(std::string_view script) {
    const KnownScript* const known = knownScript(script);
    return known && known->answersPiece();
}

bool isPlainName(std::string_view text) {
    return !text.empty() && isNameStart(text[0]) && std::ranges::all_of(text, isNamePart) &&
           wordOf(text) == Word::none;
}

}  // namespace orb::unitview::bos
