#include <cmath>

#include <fmt/format.h>

#include "authoring/model_commit.h"
#include "model/piece_list.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_model.h"
#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

/// Throws RequestError "bad MEMBER: …" for a number with a fraction: nothing is counted in parts.
void requireWhole(const char* key, const json* value) {
    if (!value || !value->is_number_float()) return;
    const auto number = value->get<double>();
    if (number != std::floor(number)) throw RequestError(fmt::format("bad {}: {}", key, number));
}

std::optional<std::int64_t> wholeNumber(const Payload& payload, const char* key) {
    requireWhole(key, payload.member(key));
    return naming(key, [&] { return payload.integer(key); });
}

std::optional<std::vector<std::int64_t>> wholeNumbers(const Payload& payload, const char* key) {
    if (payload.isArray(key))
        for (const json& number : *payload.member(key)) requireWhole(key, &number);
    return naming(key, [&] { return payload.integers(key); });
}

std::optional<PieceKey> decodePieceKey(const Payload& payload) {
    requireWhole("piece", payload.member("piece"));
    return naming("piece", [&] { return payload.textOrInteger("piece"); });
}

std::optional<double> decodeNumber(const Payload& payload, const char* key) {
    return naming(key, [&] { return payload.number(key); });
}

std::optional<std::string> decodeText(const Payload& payload, const char* key) {
    return naming(key, [&] { return payload.text(key); });
}

/// Three numbers. Throws RequestError "bad MEMBER: …" for another count.
std::optional<std::array<double, 3>> decodePoint(const Payload& payload, const char* key) {
    const auto numbers = naming(key, [&] { return payload.numbers(key); });
    if (!numbers) return std::nullopt;
    if (numbers->size() != 3)
        throw RequestError(fmt::format("bad {}: {} numbers instead of 3", key, numbers->size()));
    return std::array{(*numbers)[0], (*numbers)[1], (*numbers)[2]};
}

std::optional<std::vector<FaceKey>> decodeFaces(const Payload& payload) {
    return naming("faces", [&]() -> std::optional<std::vector<FaceKey>> {
        const auto objects = payload.objects("faces");
        if (!objects) return std::nullopt;
        std::vector<FaceKey> faces;
        faces.reserve(objects->size());
        for (const Payload& object : *objects) {
            const auto piece = decodePieceKey(object);
            const auto primIndex = wholeNumber(object, "primIndex");
            faces.push_back({require("piece", piece), require("primIndex", primIndex)});
        }
        return faces;
    });
}

ModelFix decodeFix(const Payload& payload) {
    ModelFix fix;
    fix.kind = requireFilled("kind", decodeText(payload, "kind"));
    fix.faces = decodeFaces(payload);
    fix.piece = decodePieceKey(payload);
    fix.primIndex = wholeNumber(payload, "primIndex");
    fix.vertices = wholeNumbers(payload, "vertices");
    fix.tolerance = decodeNumber(payload, "tolerance");
    fix.factor = decodeNumber(payload, "factor");
    fix.color = wholeNumber(payload, "color");
    if (payload.isArray("by"))
        fix.byUnits = decodePoint(payload, "by");
    else
        fix.byCorners = wholeNumber(payload, "by");
    fix.position = decodePoint(payload, "position");
    fix.texture = decodeText(payload, "texture");
    fix.from = decodeText(payload, "from");
    fix.to = decodeText(payload, "to");
    fix.name = decodeText(payload, "name");
    return fix;
}

Reply replyWithState(const UnitViewSession& session, json data) {
    addEditState(data, session);
    return {std::move(data)};
}

}  // namespace

Reply modelGetUnitSummary(UnitViewSession& session, const Payload&) {
    json data = encodeSummary(summarizeModel(session));
    const WorkingModel* const working = session.workingModel();
    data["hasEdits"] = working != nullptr;
    if (working && working->undoLabel()) data["undoLabel"] = *working->undoLabel();
    if (working && working->redoLabel()) data["redoLabel"] = *working->redoLabel();
    return replyWithState(session, std::move(data));
}

Reply modelGetPiece(UnitViewSession& session, const Payload& payload) {
    const auto piece = decodePieceKey(payload);
    return {encodePiece(describePiece(session, require("piece", piece)))};
}

Reply modelDuplicateFaces(UnitViewSession& session, const Payload& payload) {
    const auto piece = decodePieceKey(payload);
    const double tolerance = decodeNumber(payload, "tolerance").value_or(kDefaultTolerance);
    return {encodeDuplicates(findModelDuplicates(session, piece, tolerance))};
}

Reply modelBleedThrough(UnitViewSession& session, const Payload& payload) {
    SightRequest request;
    request.view = decodeText(payload, "view").value_or(request.view);
    request.directions = wholeNumber(payload, "directions").value_or(request.directions);
    request.pose = decodeText(payload, "pose").value_or(request.pose);
    const BleedThrough result = lookThroughModel(session, request);
    const std::vector<std::string> names = pieceNames(session.requireModel());
    json faces = json::array();
    for (const BledFace& face : result.faces)
        faces.push_back({{"piece", names[face.pieceIndex]},
                         {"pieceIndex", face.pieceIndex},
                         {"primIndex", face.primIndex},
                         {"share", face.share}});
    return {{{"faces", std::move(faces)},
             {"directions", request.directions},
             {"rayCount", result.rayCount}}};
}

Reply modelApplyFix(UnitViewSession& session, const Payload& payload) {
    const ModelFix fix = decodeFix(payload);
    const ModelFixResult result = applyModelFix(session, fix);
    return replyWithState(
        session, {{"kind", fix.kind}, {"label", result.label}, {"changed", result.changed}});
}

Reply modelUndo(UnitViewSession& session, const Payload&) {
    const std::string_view label = undoModelFix(session);
    return replyWithState(session, {{"label", label}});
}

Reply modelRedo(UnitViewSession& session, const Payload&) {
    const std::string_view label = redoModelFix(session);
    return replyWithState(session, {{"label", label}});
}

Reply modelRevert(UnitViewSession& session, const Payload&) {
    return {{{"hadEdits", session.revertModel()}}};
}

Reply modelCommit(UnitViewSession& session, const Payload& payload) {
    EditTerms terms;
    terms.allowBackupCreation = naming("allowBackupCreation", [&] {
                                    return payload.flag("allowBackupCreation");
                                }).value_or(false);
    terms.ifVersion = decodeText(payload, "ifVersion");
    return {encodeEdit(commitModel(session, terms))};
}

}  // namespace orb::unitview::ipc::handlers
