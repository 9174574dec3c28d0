#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/model3do.h"

/// What may be wrong with a model.
namespace orb::unitview {

/// The names of the kinds of issues.
std::span<const std::string_view> issueKinds();

/// A set of kinds, by their places in `issueKinds`.
class IssueSet {
public:
    void add(std::size_t kind) { bits_ |= bitOf(kind); }
    bool has(std::size_t kind) const { return (bits_ & bitOf(kind)) != 0; }
    std::size_t count() const;
    void add(const IssueSet& others) { bits_ |= others.bits_; }
    bool isEmpty() const { return bits_ == 0; }
    /// The names, in the order of `issueKinds`.
    std::vector<std::string_view> names() const;

private:
    static std::uint32_t bitOf(std::size_t kind) { return std::uint32_t{1} << kind; }
    std::uint32_t bits_ = 0;
};

struct PieceIssues {
    IssueSet ofPiece;
    /// Kinds that were not searched for in the piece, because it would take too long.
    IssueSet unknown;
    /// One for each face.
    std::vector<IssueSet> ofFaces;

    /// Every kind of every face, and those of the piece.
    std::size_t count() const;
};

/// What a model alone does not tell.
struct IssueContext {
    /// Textures that no file has, upper-cased.
    std::set<std::string> missingTextures;
    /// The pieces that the script lists, upper-cased; none for a unit without a script.
    std::optional<std::set<std::string>> scriptPieces;
};

/// The issues of each piece, in the order of flattenPieces. Throws std::runtime_error "model too
/// large to analyse".
std::vector<PieceIssues> findIssues(const io::Model3doObject& root, const IssueContext& context);

/// A piece name that scripts of the game can use has at most so many characters.
inline constexpr std::size_t kMaxPieceName = 30;

/// Vertices that no face uses, ascending. None for a piece without faces: its vertices are the
/// places and directions of effects.
std::vector<std::size_t> unusedVertices(const io::Model3doObject& piece);

}  // namespace orb::unitview
