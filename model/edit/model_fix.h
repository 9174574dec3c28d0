#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "io/formats/model3do.h"

/// Changes of a model: small functions over whole models, in one table.
namespace orb::unitview {

/// A change that cannot be made; the text says why, and nothing is changed.
class ModelFixError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A piece by its name, in any case and the first of that name, or by its index in the order of
/// flattenPieces.
using PieceKey = std::variant<std::string, std::int64_t>;

struct FaceKey {
    PieceKey piece;
    std::int64_t primIndex = 0;
};

/// What a change is to do. Which members a kind needs stands in the table of kinds; the others are
/// not looked at.
struct ModelFix {
    std::string kind;
    std::optional<std::vector<FaceKey>> faces;
    std::optional<PieceKey> piece;
    std::optional<std::int64_t> primIndex;
    std::optional<std::vector<std::int64_t>> vertices;
    std::optional<double> tolerance;
    std::optional<double> factor;
    std::optional<std::int64_t> color;
    /// Corners to move on by.
    std::optional<std::int64_t> byCorners;
    /// Model units to move by.
    std::optional<std::array<double, 3>> byUnits;
    std::optional<std::array<double, 3>> position;
    std::optional<std::string> texture;
    std::optional<std::string> from;
    std::optional<std::string> to;
    std::optional<std::string> name;
};

/// What the unit's definition adds: its footprint in cells.
struct Footprint {
    std::int64_t x = 0;
    std::int64_t z = 0;
};

/// Model units of a cell of the footprint.
inline constexpr double kUnitsPerCell = 16;

/// Names of pieces and textures that a change sets have at most so many bytes.
inline constexpr std::size_t kMaxModelName = 63;

/// Faces that are made into triangles have at most so many corners.
inline constexpr std::size_t kMaxTriangulatedCorners = 256;

/// Checks what can be told without a model. Throws ModelFixError "unknown fix: …", "… is required"
/// or "bad …: …" with the member's name.
void checkFix(const ModelFix& fix);

/// What the kind of change is called, as a line of a history.
std::string_view fixLabel(const ModelFix& fix);

/// Makes the change and returns how many faces, vertices or pieces it changed. Throws ModelFixError
/// (checkFix's texts; "piece not found: …", "piece NAME has no face N", "piece NAME has no vertex
/// N" and the like; "model too large for a 3DO file") or what an analysis throws; `model` must not
/// be used then.
std::size_t applyFix(io::Model3doObject& model, const ModelFix& fix, const Footprint& footprint);

/// The index of a piece. Throws ModelFixError "piece not found: …".
std::size_t findPiece(const io::Model3doObject& root, const PieceKey& key);

}  // namespace orb::unitview
