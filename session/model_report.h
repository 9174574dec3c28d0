#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/edit/bleed_through.h"
#include "model/edit/corner_keys.h"
#include "model/edit/duplicate_faces.h"
#include "model/edit/model_fix.h"
#include "model/edit/model_issues.h"
#include "model/face_geometry.h"
#include "session/unit_view_session.h"

/// What an editor shows of the loaded unit's model as it is edited. All throw RequestError "no unit
/// loaded; call load-unit first", "piece not found: …" or "model too large to analyse".
namespace orb::unitview {

/// A piece in the order of flattenPieces; borrows from the model.
struct ReportedPiece {
    const io::Model3doObject* piece = nullptr;
    std::size_t index = 0;
    /// None of the root.
    std::optional<std::size_t> parent;
    PieceIssues issues;
};

struct ModelSummary {
    std::string unitName;
    std::vector<ReportedPiece> pieces;
    std::size_t vertexCount = 0;
    /// With selection plates.
    std::size_t faceCount = 0;
    /// Of what is drawn; the bounds in the unit's space, and nothing but its origin when nothing
    /// is.
    std::size_t triangleCount = 0;
    Vec3d least{};
    Vec3d greatest{};
    std::size_t textureCount = 0;
};
ModelSummary summarizeModel(const UnitViewSession& session);

struct PieceReport {
    ReportedPiece piece;
    /// One for each face.
    std::vector<FaceRole> roles;
    std::vector<FaceShape> shapes;
};
PieceReport describePiece(const UnitViewSession& session, const PieceKey& key);

struct PieceDuplicates {
    std::string_view piece;
    std::size_t pieceIndex = 0;
    DuplicateFaces found;
};
/// Of one piece or all. Throws RequestError "bad tolerance: …" as well.
std::vector<PieceDuplicates> findModelDuplicates(const UnitViewSession& session,
                                                 const std::optional<PieceKey>& piece,
                                                 double tolerance);

/// How a model is looked through; words as requests give them.
struct SightRequest {
    std::string view = "game";
    std::string pose = "rest";
    std::int64_t directions = kDefaultDirections;
};
/// The faces' pieces are named by index. Throws RequestError "bad view: …", "bad directions: …" or
/// "bad pose: …" as well.
BleedThrough lookThroughModel(UnitViewSession& session, const SightRequest& request);

}  // namespace orb::unitview
