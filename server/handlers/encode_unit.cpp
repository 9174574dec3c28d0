#include "server/handlers/encode_unit.h"

#include <span>

#include <nlohmann/json.hpp>

#include "model/piece_list.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/json_numbers.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

json encodePoint(const io::ModelPoint& point) {
    return {shortestDouble(static_cast<float>(point[0])),
            shortestDouble(static_cast<float>(point[1])),
            shortestDouble(static_cast<float>(point[2]))};
}

template <typename Value>
json encodeValue(const Value& value) {
    if constexpr (std::is_same_v<Value, float>)
        return shortestDouble(value);
    else
        return value;
}

/// Numbers pieces in the order of flattenPieces; recursion is as deep as the model nests. Members
/// are put in place one by one: as a list they would all be made twice.
json encodePieceTree(const io::Model3doObject& piece, int& nextIndex) {
    json result = json::object();
    result["name"] = piece.name;
    result["index"] = nextIndex++;
    result["position"] = encodePoint(piece.position);
    result["vertexCount"] = piece.vertices.size();
    result["primitiveCount"] = piece.primitives.size();
    if (piece.selectionPrimitive) result["selectionPrimitive"] = *piece.selectionPrimitive;
    json children = json::array();
    for (const auto& child : piece.children) children.push_back(encodePieceTree(*child, nextIndex));
    result["children"] = std::move(children);
    return result;
}

json encodeMovementClass(const MovementClassInfo& info) {
    json result = {{"name", info.name}, {"resolvedName", info.resolvedName}, {"found", info.found}};
    if (!info.found) return result;
    result.update({{"footprintX", info.footprintX},
                   {"footprintZ", info.footprintZ},
                   {"maxSlope", info.maxSlope},
                   {"maxWaterDepth", info.maxWaterDepth},
                   {"minWaterDepth", info.minWaterDepth},
                   {"maxWaterSlope", info.maxWaterSlope},
                   {"hasAuthoredConstraint", info.hasAuthoredConstraint},
                   {"sourcePath", info.sourcePath},
                   {"shadowedSources", info.shadowedSources}});
    return result;
}

/// {key as written: text}.
json encodeValues(const io::TdfSection& section) {
    json values = json::object();
    for (const auto& [kind, key] : section.order)
        if (kind == io::TdfSection::Entry::Kind::value) values[key] = *section.getString(key);
    return values;
}

json encodeWeapon(const WeaponSlot& slot) {
    const TableEntry* const weapon = slot.weapon;
    if (!weapon) return {{"name", slot.name}, {"missing", true}};
    json sections = json::object();
    for (const auto& [kind, key] : weapon->section.order)
        if (kind == io::TdfSection::Entry::Kind::section)
            sections[key] = encodeValues(*weapon->section.child(key));
    return {{"name", weapon->name},
            {"sourcePath", locationText(weapon->file.location())},
            {"values", encodeValues(weapon->section)},
            {"sections", std::move(sections)}};
}

json encodeSounds(const std::string& category, std::span<const SoundEvent> sounds) {
    json events = json::array();
    for (const auto& [event, name, count] : sounds)
        events.push_back({{"event", event}, {"name", name}, {"count", count}});
    return {{"category", category}, {"events", std::move(events)}};
}

}  // namespace

json encodeFbi(const io::FbiUnitInfo& fbi) {
    json result = json::object();
    io::forEachFbiKey(fbi, [&](std::string_view key, const auto& value) {
        result[std::string(key)] = encodeValue(value);
    });
    result["buildOptions"] = fbi.buildOptions;
    return result;
}

json encodeBuildMenu(std::span<const BuildMenuEntry> menu) {
    json result = json::array();
    const LayerFile* file = nullptr;
    json source;
    for (const BuildMenuEntry& entry : menu) {
        // Where a file lies is asked once, not for each of its entries.
        if (!file || *file != *entry.file) {
            file = entry.file;
            source = encodeSource({file->location(), file->isInBaseTa()});
        }
        json item = {{"unit", entry.unit}, {"source", source}};
        if (entry.menu) item["menu"] = *entry.menu;
        if (entry.button) item["button"] = *entry.button;
        result.push_back(std::move(item));
    }
    return result;
}

json encodeLoadedUnit(const LoadedUnit& unit, const UnitDetails& details) {
    static const io::CobFile kNoScript{0, {}, {}, 0, {}};
    const io::CobFile& cob = unit.cob ? *unit.cob : kNoScript;
    int pieceCount = 0;
    json pieceTree = encodePieceTree(unit.model, pieceCount);
    json weapons = json::array();
    for (const WeaponSlot& slot : details.weapons) weapons.push_back(encodeWeapon(slot));

    json result = {{"unitName", unit.name},
                   {"loadedFromIR", unit.loadedFromIR},
                   {"pieceCount", pieceCount},
                   {"fbi", encodeFbi(unit.fbi)},
                   {"pieceTree", std::move(pieceTree)},
                   {"cobFunctions", io::scriptNames(cob)},
                   {"cobVersion", cob.version},
                   {"cobNumStaticVars", cob.staticVarCount},
                   {"cobPieceNames", cob.pieces},
                   {"modelPieceNames", pieceNames(unit.model)},
                   {"weapons", std::move(weapons)},
                   {"sounds", encodeSounds(unit.fbi.soundCategory, details.sounds)}};
    if (unit.source) result["source"] = encodeSource(*unit.source);
    if (details.movementClass)
        result["movementClassInfo"] = encodeMovementClass(*details.movementClass);
    if (details.baseline) result["baselineFbi"] = encodeFbi(*details.baseline);
    return result;
}

}  // namespace orb::unitview::ipc
