#include "authoring/texture_remap.h"

#include <bitset>
#include <cmath>

#include <fmt/format.h>

#include "server/base64.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

using Changes = std::vector<IndexChange>;

std::uint8_t decodeIndex(const Payload& entry, const char* key) {
    const std::optional<double> index = entry.number(key);
    if (!index) throw PayloadError(fmt::format("{} is required", key));
    if (!(*index >= 0 && *index <= 255) || std::floor(*index) != *index)
        throw PayloadError(fmt::format("{} is not a whole number from 0 to 255", key));
    return static_cast<std::uint8_t>(*index);
}

std::optional<Changes> decodeMap(const Payload& payload) {
    const auto entries = payload.elements("map");
    if (!entries) return std::nullopt;
    Changes changes;
    std::bitset<256> isGiven;
    for (const Payload& entry : *entries) {
        try {
            const IndexChange change{decodeIndex(entry, "from"), decodeIndex(entry, "to")};
            if (isGiven[change.from])
                throw PayloadError(fmt::format("from {} was given before", change.from));
            isGiven.set(change.from);
            changes.push_back(change);
        } catch (const PayloadError& error) {
            throw RequestError(fmt::format("bad map entry {}: {}", changes.size(), error.what()));
        }
    }
    return changes;
}

RecolorDirection decodeDirection(const Payload& payload) {
    const std::string word = payload.text("direction").value_or("away");
    if (word == "away") return RecolorDirection::away;
    if (word == "toward") return RecolorDirection::toward;
    throw RequestError("bad direction: " + word);
}

json encodeMap(std::span<const RemapRow> rows) {
    json map = json::array();
    for (const auto& [change, pixels, distance] : rows)
        map.push_back(
            {{"from", change.from}, {"to", change.to}, {"pixels", pixels}, {"distance", distance}});
    return map;
}

json encodeFacts(const TextureFacts& texture, std::span<const RemapRow> map) {
    return {{"textureName", texture.name},
            {"source", encodeSource(texture.source)},
            {"width", texture.width},
            {"height", texture.height},
            {"frames", texture.use.frameCount},
            {"teamPixels", teamPixels(texture.use)},
            {"totalPixels", texture.use.totalPixels},
            {"map", encodeMap(map)}};
}

}  // namespace

Reply textureSuggestRemap(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("textureName");
    const RecolorDirection direction = decodeDirection(payload);
    const RemapSuggestion suggestion =
        suggestTextureRemap(session, requireFilled("textureName", name), direction);
    return {encodeFacts(suggestion.texture, suggestion.map)};
}

Reply texturePreviewRemap(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("textureName");
    const auto map = decodeMap(payload);
    const RemapPreview preview =
        previewTextureRemap(session, requireFilled("textureName", name), map);
    json data = encodeFacts(preview.texture, preview.map);
    data["teamPixels"] = preview.teamPixelsAfter;
    data["changedPixels"] = preview.changedPixels;
    data["before_b64"] = encodeBase64(preview.before.png);
    data["after_b64"] = encodeBase64(preview.after.png);
    return {std::move(data)};
}

Reply textureApplyRemap(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("textureName");
    const auto modPath = payload.path("modPath");
    const bool allowBackup = payload.flag("allowBackupCreation").value_or(false);
    const auto map = decodeMap(payload);
    const RemapResult result =
        applyTextureRemap(session, requireFilled("textureName", name), map, modPath, allowBackup);
    json data = encodeEdit(result.edit);
    data["changedPixels"] = result.changedPixels;
    data["alsoChanges"] = result.alsoChanges;
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
