#include "server/handlers/encode_model.h"

#include <array>

#include <nlohmann/json.hpp>

#include "server/handlers/json_numbers.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

/// By DuplicateKind.
constexpr std::array<std::string_view, 3> kDuplicateWords = {"same", "opposite", "overlap"};

/// As floats are told, or, where one does not hold it, exactly.
double encodeCoordinate(double value) {
    const auto rounded = static_cast<float>(value);
    return double{rounded} == value ? shortestDouble(rounded) : value;
}

json encodePoint(const io::ModelPoint& point) {
    return {encodeCoordinate(point[0]), encodeCoordinate(point[1]), encodeCoordinate(point[2])};
}

/// Kinds of issues that were not searched for, if there are such.
void addUnknown(json& data, const IssueSet& kinds) {
    if (!kinds.isEmpty()) data["unknown"] = kinds.names();
}

json encodePieceHead(const ReportedPiece& reported) {
    json data = {{"index", reported.index},
                 {"name", reported.piece->name},
                 {"position", encodePoint(reported.piece->position)}};
    if (reported.parent) data["parent"] = *reported.parent;
    addUnknown(data, reported.issues.unknown);
    return data;
}

json countIssues(const std::vector<ReportedPiece>& pieces) {
    std::vector<std::size_t> counts(issueKinds().size());
    const auto count = [&](const IssueSet& issues) {
        for (std::size_t kind = 0; kind < counts.size(); ++kind)
            if (issues.has(kind)) ++counts[kind];
    };
    for (const ReportedPiece& reported : pieces) {
        count(reported.issues.ofPiece);
        for (const IssueSet& face : reported.issues.ofFaces) count(face);
    }
    json result = json::array();
    for (std::size_t kind = 0; kind < counts.size(); ++kind)
        if (counts[kind] > 0)
            result.push_back({{"kind", issueKinds()[kind]}, {"count", counts[kind]}});
    return result;
}

json encodeFace(const PieceReport& report, std::size_t primIndex) {
    const io::Model3doPrimitive& face = report.piece.piece->primitives[primIndex];
    const FaceRole& role = report.roles[primIndex];
    const FaceShape& shape = report.shapes[primIndex];
    json data = {{"primIndex", primIndex},
                 {"indices", face.vertexIndices},
                 {"flags", face.flags},
                 {"isTwin", role.isTwin},
                 {"isSelection", role.isSelection},
                 {"normal", shape.normal},
                 {"area", shape.area},
                 {"issues", report.piece.issues.ofFaces[primIndex].names()}};
    if (face.textureName) data["texture"] = *face.textureName;
    if (face.color) data["color"] = *face.color;
    if (role.twinOf) data["twinOf"] = *role.twinOf;
    return data;
}

}  // namespace

void addEditState(json& data, const UnitViewSession& session) {
    const EditState state = editState(session);
    data["undoDepth"] = state.undoDepth;
    data["redoDepth"] = state.redoDepth;
    data["isDirty"] = state.isDirty;
}

json encodeSummary(const ModelSummary& summary) {
    json pieces = json::array();
    IssueSet unknown;
    for (const ReportedPiece& reported : summary.pieces) {
        unknown.add(reported.issues.unknown);
        json piece = encodePieceHead(reported);
        piece["vertexCount"] = reported.piece->vertices.size();
        piece["faceCount"] = reported.piece->primitives.size();
        piece["issueCount"] = reported.issues.count();
        pieces.push_back(std::move(piece));
    }
    json data = {{"unitName", summary.unitName},
                 {"pieceCount", summary.pieces.size()},
                 {"vertexCount", summary.vertexCount},
                 {"faceCount", summary.faceCount},
                 {"triangleCount", summary.triangleCount},
                 {"textureCount", summary.textureCount},
                 {"bounds", {{"min", summary.least}, {"max", summary.greatest}}},
                 {"pieces", std::move(pieces)},
                 {"issues", countIssues(summary.pieces)}};
    addUnknown(data, unknown);
    return data;
}

json encodePiece(const PieceReport& report) {
    json vertices = json::array();
    for (const io::ModelPoint& vertex : report.piece.piece->vertices)
        vertices.push_back(encodePoint(vertex));
    json faces = json::array();
    for (std::size_t i = 0; i < report.roles.size(); ++i) faces.push_back(encodeFace(report, i));
    json data = encodePieceHead(report.piece);
    data["vertices"] = std::move(vertices);
    data["faces"] = std::move(faces);
    data["issues"] = report.piece.issues.ofPiece.names();
    return data;
}

json encodeDuplicates(const std::vector<PieceDuplicates>& pieces) {
    json groups = json::array();
    json unknown = json::array();
    std::size_t faceCount = 0;
    for (const PieceDuplicates& piece : pieces) {
        if (!piece.found.areOverlapsKnown) unknown.push_back(piece.pieceIndex);
        for (const DuplicateGroup& group : piece.found.groups) {
            faceCount += group.faces.size();
            groups.push_back({{"piece", piece.piece},
                              {"pieceIndex", piece.pieceIndex},
                              {"kind", kDuplicateWords.at(static_cast<std::size_t>(group.kind))},
                              {"faces", group.faces},
                              {"share", group.share}});
        }
    }
    json data = {{"groups", std::move(groups)}, {"faceCount", faceCount}};
    if (!unknown.empty()) data["unknown"] = std::move(unknown);
    return data;
}

}  // namespace orb::unitview::ipc
