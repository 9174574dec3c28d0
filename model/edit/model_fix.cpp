#include "model/edit/model_fix.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include <fmt/format.h>

#include "io/ascii.h"
#include "model/edit/fix_functions.h"
#include "model/edit/model_values.h"
#include "model/piece_list.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

struct FixKind {
    std::string_view kind;
    std::string_view label;
    /// The members that must be given.
    std::initializer_list<std::string_view> required;
    std::size_t (*apply)(EditedModel&, const ModelFix&);
};

const FixKind kFixKinds[] = {
    {"add-twins", "Add twins", {}, addTwins},
    {"remove-twins", "Remove twins", {}, removeTwins},
    {"flip-faces", "Flip faces", {"faces"}, flipFaces},
    {"delete-faces", "Delete faces", {"faces"}, deleteFaces},
    {"remove-duplicates", "Remove duplicates", {}, removeDuplicates},
    {"remove-degenerate", "Remove degenerate faces", {}, removeDegenerate},
    {"remove-unused-vertices", "Remove unused vertices", {}, removeUnusedVertices},
    {"weld-vertices", "Weld vertices", {}, weldVertices},
    {"triangulate", "Triangulate faces", {}, triangulateFaces},
    {"turn-corners", "Turn corners", {"faces"}, turnCorners},
    {"set-texture", "Set texture", {"faces", "texture"}, setTexture},
    {"set-color", "Set color", {"faces", "color"}, setColor},
    {"replace-texture", "Replace texture", {"from", "to"}, replaceTexture},
    {"rename-piece", "Rename piece", {"piece", "name"}, renamePiece},
    {"move-piece", "Move piece", {"piece", "position"}, movePiece},
    {"move-vertices", "Move vertices", {"piece", "vertices", "by"}, moveVertices},
    {"scale", "Scale", {"factor"}, scaleModel},
    {"set-selection", "Set selection plate", {"piece", "primIndex"}, setSelection},
    {"make-selection", "Make selection plate", {}, makeSelection},
};

const FixKind& kindOf(const ModelFix& fix) {
    for (const FixKind& kind : kFixKinds)
        if (kind.kind == fix.kind) return kind;
    throw ModelFixError("unknown fix: " + fix.kind);
}

/// What is wrong with a value, or nothing.
using Complaint = std::string;

Complaint checkName(const std::optional<std::string>& name) {
    if (!name) return {};
    if (name->empty()) return "empty";
    if (name->size() > kMaxModelName) return fmt::format("longer than {} bytes", kMaxModelName);
    if (name->find('\0') != std::string::npos) return "contains a NUL";
    const bool isAscii = std::ranges::all_of(*name, [](char c) { return (c & 0x80) == 0; });
    return isAscii ? "" : "not ASCII";
}

Complaint checkNumber(const std::optional<double>& value, bool isInRange) {
    return value && !(std::isfinite(*value) && isInRange) ? fmt::format("{}", *value) : "";
}

Complaint checkPoint(const std::optional<std::array<double, 3>>& point) {
    if (!point || std::ranges::all_of(*point, [](double x) { return std::isfinite(x); })) return {};
    return fmt::format("[{}, {}, {}]", (*point)[0], (*point)[1], (*point)[2]);
}

/// Corners are counted, vertices are moved along three axes.
Complaint checkBy(const ModelFix& fix) {
    if (fix.kind == "turn-corners" && fix.byUnits && !fix.byCorners)
        return "an array instead of a number of corners";
    if (fix.kind == "move-vertices" && fix.byCorners && !fix.byUnits)
        return "a number instead of [x, y, z]";
    return checkPoint(fix.byUnits);
}

struct Member {
    std::string_view name;
    bool (*isGiven)(const ModelFix&);
    Complaint (*check)(const ModelFix&);
};

constexpr auto kAnyValue = [](const ModelFix&) { return Complaint(); };

constexpr Member kMembers[] = {
    {"faces", [](const ModelFix& fix) { return fix.faces.has_value(); }, kAnyValue},
    {"piece", [](const ModelFix& fix) { return fix.piece.has_value(); }, kAnyValue},
    {"primIndex", [](const ModelFix& fix) { return fix.primIndex.has_value(); }, kAnyValue},
    {"vertices", [](const ModelFix& fix) { return fix.vertices.has_value(); }, kAnyValue},
    {"tolerance", [](const ModelFix& fix) { return fix.tolerance.has_value(); },
     [](const ModelFix& fix) {
         return checkNumber(fix.tolerance, fix.tolerance.value_or(0) >= 0);
     }},
    {"factor", [](const ModelFix& fix) { return fix.factor.has_value(); },
     [](const ModelFix& fix) { return checkNumber(fix.factor, fix.factor.value_or(0) > 0); }},
    {"color", [](const ModelFix& fix) { return fix.color.has_value(); },
     [](const ModelFix& fix) {
         const std::int64_t color = fix.color.value_or(0);
         return color < 0 || color > 255 ? std::to_string(color) : "";
     }},
    {"by", [](const ModelFix& fix) { return fix.byUnits || fix.byCorners; }, checkBy},
    {"position", [](const ModelFix& fix) { return fix.position.has_value(); },
     [](const ModelFix& fix) { return checkPoint(fix.position); }},
    {"texture", [](const ModelFix& fix) { return fix.texture.has_value(); },
     [](const ModelFix& fix) { return checkName(fix.texture); }},
    {"from", [](const ModelFix& fix) { return fix.from.has_value(); }, kAnyValue},
    {"to", [](const ModelFix& fix) { return fix.to.has_value(); },
     [](const ModelFix& fix) { return checkName(fix.to); }},
    {"name", [](const ModelFix& fix) { return fix.name.has_value(); },
     [](const ModelFix& fix) { return checkName(fix.name); }},
};

std::string keyText(const PieceKey& key) {
    if (const auto* const name = std::get_if<std::string>(&key)) return *name;
    return std::to_string(std::get<std::int64_t>(key));
}

template <typename Pieces, typename NameOf>
std::size_t findAmong(const Pieces& pieces, const PieceKey& key, NameOf&& nameOf) {
    if (const auto* const index = std::get_if<std::int64_t>(&key)) {
        if (*index >= 0 && static_cast<std::uint64_t>(*index) < pieces.size())
            return static_cast<std::size_t>(*index);
    } else {
        for (std::size_t i = 0; i < pieces.size(); ++i)
            if (io::equalsIgnoringCase(nameOf(pieces[i]), std::get<std::string>(key))) return i;
    }
    throw ModelFixError("piece not found: " + keyText(key));
}

/// In the order of flattenPieces; as deep as the model nests, which its reader bounds.
void collectPieces(Model3doObject& piece, std::vector<Model3doObject*>& list) {
    list.push_back(&piece);
    for (const auto& child : piece.children) collectPieces(*child, list);
}

}  // namespace

void checkFix(const ModelFix& fix) {
    const FixKind& kind = kindOf(fix);
    for (const Member& member : kMembers) {
        const bool isRequired =
            std::ranges::find(kind.required, member.name) != kind.required.end();
        if (isRequired && !member.isGiven(fix))
            throw ModelFixError(fmt::format("{} is required", member.name));
        if (const Complaint complaint = member.check(fix); !complaint.empty())
            throw ModelFixError(fmt::format("bad {}: {}", member.name, complaint));
    }
}

std::string_view fixLabel(const ModelFix& fix) {
    return kindOf(fix).label;
}

std::size_t applyFix(Model3doObject& model, const ModelFix& fix, const Footprint& footprint) {
    checkFix(fix);
    EditedModel edited(model, footprint);
    const std::size_t changed = kindOf(fix).apply(edited, fix);
    if (!fitsIntoFile(model)) throw ModelFixError("model too large for a 3DO file");
    return changed;
}

std::size_t findPiece(const Model3doObject& root, const PieceKey& key) {
    return findAmong(pieceNames(root), key, [](const std::string& name) { return name; });
}

EditedModel::EditedModel(Model3doObject& model, const Footprint& unitFootprint)
    : root(model), footprint(unitFootprint) {
    collectPieces(model, pieces);
}

std::size_t EditedModel::indexOf(const PieceKey& key) const {
    return findAmong(pieces, key, [](const Model3doObject* piece) { return piece->name; });
}

std::vector<Model3doObject*> EditedModel::namedOrAll(const std::optional<PieceKey>& key) const {
    return key ? std::vector{&piece(*key)} : pieces;
}

FaceSelection selectFaces(const EditedModel& model, const std::vector<FaceKey>& faces) {
    FaceSelection selection;
    for (const auto& [key, primIndex] : faces) {
        const std::size_t piece = model.indexOf(key);
        if (primIndex < 0 ||
            static_cast<std::uint64_t>(primIndex) >= model.pieces[piece]->primitives.size())
            throw ModelFixError(
                fmt::format("{} has no face {}", pieceText(*model.pieces[piece]), primIndex));
        selection[piece].push_back(static_cast<std::size_t>(primIndex));
    }
    for (auto& [piece, indices] : selection) {
        std::ranges::sort(indices);
        indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    }
    return selection;
}

std::string pieceText(const Model3doObject& piece) {
    return "piece " + piece.name;
}

}  // namespace orb::unitview
