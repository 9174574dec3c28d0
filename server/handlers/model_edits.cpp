#include <fmt/format.h>

#include "authoring/model_commit.h"
#include "model/piece_list.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_model.h"
#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

/// Three numbers. Throws RequestError "bad MEMBER: …" for another count.
std::optional<std::array<double, 3>> decodePoint(const Payload& payload, const char* key) {
    const auto numbers = payload.numbers(key);
    if (!numbers) return std::nullopt;
    if (numbers->size() != 3)
        throw RequestError(fmt::format("bad {}: {} numbers instead of 3", key, numbers->size()));
    return std::array{(*numbers)[0], (*numbers)[1], (*numbers)[2]};
}

std::optional<std::vector<FaceKey>> decodeFaces(const Payload& payload) {
    const auto objects = payload.objects("faces");
    if (!objects) return std::nullopt;
    std::vector<FaceKey> faces;
    for (const Payload& object : *objects) {
        const auto piece = object.textOrInteger("piece");
        const auto primIndex = object.integer("primIndex");
        faces.push_back({require("piece", piece), require("primIndex", primIndex)});
    }
    return faces;
}

ModelFix decodeFix(const Payload& payload) {
    ModelFix fix;
    fix.kind = requireFilled("kind", payload.text("kind"));
    fix.faces = decodeFaces(payload);
    fix.piece = payload.textOrInteger("piece");
    fix.primIndex = payload.integer("primIndex");
    fix.vertices = payload.integers("vertices");
    fix.tolerance = payload.number("tolerance");
    fix.factor = payload.number("factor");
    fix.color = payload.integer("color");
    if (payload.isArray("by"))
        fix.byUnits = decodePoint(payload, "by");
    else
        fix.byCorners = payload.integer("by");
    fix.position = decodePoint(payload, "position");
    fix.texture = payload.text("texture");
    fix.from = payload.text("from");
    fix.to = payload.text("to");
    fix.name = payload.text("name");
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
    const auto piece = payload.textOrInteger("piece");
    return {encodePiece(describePiece(session, require("piece", piece)))};
}

Reply modelDuplicateFaces(UnitViewSession& session, const Payload& payload) {
    const auto piece = payload.textOrInteger("piece");
    const double tolerance = payload.number("tolerance").value_or(kDefaultTolerance);
    return {encodeDuplicates(findModelDuplicates(session, piece, tolerance))};
}

Reply modelBleedThrough(UnitViewSession& session, const Payload& payload) {
    SightRequest request;
    request.view = payload.text("view").value_or(request.view);
    request.directions = payload.integer("directions").value_or(request.directions);
    request.pose = payload.text("pose").value_or(request.pose);
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
    const bool allowBackup = payload.flag("allowBackupCreation").value_or(false);
    return {encodeEdit(commitModel(session, allowBackup))};
}

}  // namespace orb::unitview::ipc::handlers
