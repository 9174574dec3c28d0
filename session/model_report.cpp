#include "session/model_report.h"

#include <cmath>

#include <fmt/format.h>

#include "io/ascii.h"
#include "model/edit/analysis_limits.h"
#include "model/piece_list.h"
#include "model/placement.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

IssueContext issueContext(const UnitViewSession& session, const Model3doObject& model) {
    IssueContext context;
    const std::vector<std::string> names = textureNames(model);
    const auto textures = session.data().pictures.textures.find(names);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (!textures[i]) context.missingTextures.insert(io::upperCased(names[i]));
    if (const auto& cob = session.requireUnit().cob) {
        context.scriptPieces.emplace();
        for (const std::string& piece : cob->pieces)
            context.scriptPieces->insert(io::upperCased(piece));
    }
    return context;
}

std::vector<ReportedPiece> reportPieces(const UnitViewSession& session) {
    const Model3doObject& model = session.requireModel();
    std::vector<PieceIssues> issues =
        reportingFailure([&] { return findIssues(model, issueContext(session, model)); });
    std::vector<ReportedPiece> pieces;
    for (const auto& [piece, parent] : flattenPieces(model)) {
        const std::size_t index = pieces.size();
        pieces.push_back({piece, index, std::nullopt, std::move(issues[index])});
        if (parent >= 0) pieces.back().parent = static_cast<std::size_t>(parent);
    }
    return pieces;
}

/// Adds what is drawn of a piece.
void addDrawn(const Model3doObject& piece, const Placement& placement, ModelSummary& summary,
              Box& bounds) {
    for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
        if (!isDrawn(piece, i)) continue;
        summary.triangleCount += piece.primitives[i].vertexIndices.size() - 2;
        for (const Vec3d& corner : cornersOf(piece.primitives[i], piece.vertices))
            bounds.include(placement.apply(corner));
    }
}

std::vector<PiecePose> currentPose(UnitViewSession& session) {
    std::vector<PiecePose> pose;
    if (const CobInstance* const script = session.cob().instance())
        for (const CobPiece& piece : script->pieces)
            pose.push_back({piece.offset, piece.angle, piece.visible != 0});
    return pose;
}

}  // namespace

ModelSummary summarizeModel(const UnitViewSession& session) {
    ModelSummary summary;
    summary.unitName = session.requireUnit().name;
    summary.pieces = reportPieces(session);
    const Model3doObject& model = session.requireModel();
    const std::vector<Placement> placements = placePieces(flattenPieces(model));
    Box bounds;
    for (const ReportedPiece& reported : summary.pieces) {
        summary.vertexCount += reported.piece->vertices.size();
        summary.faceCount += reported.piece->primitives.size();
        addDrawn(*reported.piece, placements[reported.index], summary, bounds);
    }
    if (!bounds.isEmpty()) {
        summary.least = bounds.least;
        summary.greatest = bounds.greatest;
    }
    summary.textureCount = textureNames(model).size();
    return summary;
}

PieceReport describePiece(const UnitViewSession& session, const PieceKey& key) {
    const std::size_t index =
        reportingFailure([&] { return findPiece(session.requireModel(), key); });
    PieceReport report{std::move(reportPieces(session)[index]), {}, {}};
    const Model3doObject& piece = *report.piece.piece;
    report.roles = faceRoles(piece);
    for (const auto& face : piece.primitives) report.shapes.push_back(shapeOf(piece, face));
    return report;
}

std::vector<PieceDuplicates> findModelDuplicates(const UnitViewSession& session,
                                                 const std::optional<PieceKey>& piece,
                                                 double tolerance) {
    if (!(std::isfinite(tolerance) && tolerance >= 0))
        throw RequestError(fmt::format("bad tolerance: {}", tolerance));
    const Model3doObject& model = session.requireModel();
    return reportingFailure([&] {
        requireAnalysable(model);
        const std::vector<PieceRef> pieces = flattenPieces(model);
        std::optional<std::size_t> only;
        if (piece) only = findPiece(model, *piece);
        std::vector<PieceDuplicates> result;
        for (std::size_t i = 0; i < pieces.size(); ++i)
            if (!only || *only == i)
                result.push_back(
                    {pieces[i].piece->name, i, findDuplicates(*pieces[i].piece, tolerance)});
        return result;
    });
}

BleedThrough lookThroughModel(UnitViewSession& session, const SightRequest& request) {
    if (request.view != "game" && request.view != "all")
        throw RequestError("bad view: " + request.view);
    if (request.directions < static_cast<std::int64_t>(kMinDirections) ||
        request.directions > static_cast<std::int64_t>(kMaxDirections))
        throw RequestError(fmt::format("bad directions: {}", request.directions));
    if (request.pose != "rest" && request.pose != "current")
        throw RequestError("bad pose: " + request.pose);
    const Model3doObject& model = session.requireModel();
    const std::vector<PiecePose> pose =
        request.pose == "current" ? currentPose(session) : std::vector<PiecePose>();
    const BleedThroughView view{request.view == "game",
                                static_cast<std::size_t>(request.directions)};
    return reportingFailure([&] { return findBleedThrough(model, view, pose); });
}

}  // namespace orb::unitview
