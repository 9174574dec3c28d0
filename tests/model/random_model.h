#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "model/edit/model_fix.h"
#include "model/piece_list.h"

/// Models and changes drawn at random: small lattices, so that faces often share planes, corners
/// and outlines, with everything that files may hold and should not.
namespace orb::unitview {

class ModelDraw {
public:
    explicit ModelDraw(std::uint32_t seed) : random_(seed) {}

    std::size_t below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
    }
    bool isOneIn(std::size_t count) { return below(count) == 0; }

    io::Model3doObject model() {
        io::Model3doObject root = piece("base");
        std::vector<io::Model3doObject*> pieces = {&root};
        for (std::size_t i = below(4); i > 0; --i) {
            auto& children = pieces[below(pieces.size())]->children;
            children.push_back(std::make_unique<io::Model3doObject>(
                piece(isOneIn(5) ? "Base" : "part" + std::to_string(i))));
            pieces.push_back(children.back().get());
        }
        if (!isOneIn(4) && !root.primitives.empty())
            root.selectionPrimitive =
                static_cast<std::int32_t>(below(root.primitives.size() + (isOneIn(5) ? 3 : 0)));
        return root;
    }

    /// A box of which some faces are missing, doubled, turned, twinned or cut, and loose faces.
    io::Model3doObject piece(const std::string& name) {
        io::Model3doObject piece;
        piece.name = name;
        piece.position = point();
        for (std::size_t boxes = below(3); boxes > 0; --boxes) addBox(piece);
        for (std::size_t i = below(6); i > 0; --i) piece.vertices.push_back(point());
        for (std::size_t i = below(6); i > 0 && !piece.vertices.empty(); --i)
            piece.primitives.push_back(looseFace(piece.vertices.size()));
        return piece;
    }

    /// A change of any kind, whose members are mostly right.
    ModelFix fix(const io::Model3doObject& model) {
        static const char* const kKinds[] = {"add-twins",
                                             "remove-twins",
                                             "flip-faces",
                                             "delete-faces",
                                             "triangulate",
                                             "turn-corners",
                                             "set-texture",
                                             "set-color",
                                             "replace-texture",
                                             "rename-piece",
                                             "move-piece",
                                             "move-vertices",
                                             "scale",
                                             "set-selection",
                                             "make-selection",
                                             "remove-duplicates",
                                             "remove-degenerate",
                                             "remove-unused-vertices",
                                             "weld-vertices",
                                             "no-such-fix"};
        const std::vector<PieceRef> pieces = flattenPieces(model);
        const std::size_t target = below(pieces.size());
        const io::Model3doObject& piece = *pieces[target].piece;
        ModelFix fix;
        fix.kind = kKinds[below(std::size(kKinds))];
        const bool defaultsToAll =
            fix.kind.starts_with("remove-") || fix.kind == "add-twins" || fix.kind == "triangulate";
        if (!(defaultsToAll && isOneIn(2))) {
            fix.faces.emplace();
            for (std::size_t i = below(4); i > 0; --i)
                fix.faces->push_back({key(piece, target), index(piece.primitives.size())});
        }
        if (!isOneIn(4)) fix.piece = key(piece, target);
        fix.primIndex = index(piece.primitives.size());
        fix.vertices.emplace();
        for (std::size_t i = below(4); i > 0; --i)
            fix.vertices->push_back(index(piece.vertices.size()));
        if (isOneIn(2)) fix.tolerance = number({0.001, 0, 1, 0.5, 1e9, -1, NAN});
        fix.factor = number({0.5, 2, 1, 1.1, 1e-7, 100000, 0, -1, INFINITY});
        fix.color = static_cast<std::int64_t>(below(260)) - 2;
        fix.byCorners = static_cast<std::int64_t>(below(9)) - 4;
        fix.byUnits = {number({0, 1, -1, 0.1}), number({0, 1, 0.3}), number({0, 70000, NAN})};
        fix.position = {number({0, 1, 2.3}), number({0, 1, -1}), number({0, -40000, INFINITY})};
        fix.texture = name();
        fix.from = name();
        fix.to = name();
        fix.name = name();
        return fix;
    }

    io::ModelPoint point() {
        // as 16.16 holds them exactly
        const auto coordinate = [&] { return static_cast<double>(below(9)) * 0.5 - 2; };
        const double x = coordinate(), y = coordinate();
        return {x, y, coordinate()};
    }

private:
    /// The first ones mostly, the last one seldom.
    double number(std::initializer_list<double> values) {
        return values.begin()[std::min(below(values.size()), below(values.size()))];
    }

    std::string name() {
        static const std::string kNames[] = {"wall", "Wall", "lost",     "roof",
                                             "base", "",     "\xC3\xA4", std::string(64, 'x')};
        return kNames[std::min(below(8), below(8))];
    }

    PieceKey key(const io::Model3doObject& piece, std::size_t index) {
        if (isOneIn(40)) return std::string("nowhere");
        if (isOneIn(2)) return piece.name;
        return static_cast<std::int64_t>(index) + (isOneIn(40) ? 99 : 0);
    }

    /// One of `count`, seldom one that is not there.
    std::int64_t index(std::size_t count) {
        return static_cast<std::int64_t>(below(count + 1)) - (isOneIn(30) ? 1 : 0);
    }

    io::Model3doPrimitive looks() {
        io::Model3doPrimitive face;
        if (isOneIn(2))
            face.color = static_cast<std::uint8_t>(below(256));
        else
            face.textureName = isOneIn(2) ? "wall" : "Roof";
        return face;
    }

    io::Model3doPrimitive looseFace(std::size_t vertexCount) {
        io::Model3doPrimitive face = looks();
        for (std::size_t corners = below(7); corners > 0; --corners)
            face.vertexIndices.push_back(
                static_cast<std::uint16_t>(below(vertexCount + (isOneIn(40) ? 5 : 0))));
        for (bool& flag : face.flags) flag = isOneIn(6);
        return face;
    }

    void addBox(io::Model3doObject& piece) {
        constexpr std::uint16_t kFaces[6][4] = {{4, 5, 7, 6}, {0, 2, 3, 1}, {6, 7, 3, 2},
                                                {5, 4, 0, 1}, {4, 6, 2, 0}, {7, 5, 1, 3}};
        const auto base = static_cast<std::uint16_t>(piece.vertices.size());
        const io::ModelPoint low = point();
        const auto size = static_cast<double>(1 + below(3));
        for (int corner = 0; corner < 8; ++corner)
            piece.vertices.push_back({low[0] + ((corner & 1) != 0 ? size : 0),
                                      low[1] + ((corner & 4) != 0 ? size : 0),
                                      low[2] + ((corner & 2) != 0 ? size : 0)});
        for (const auto& corners : kFaces) {
            if (isOneIn(8)) continue;
            io::Model3doPrimitive face = looks();
            for (const std::uint16_t corner : corners)
                face.vertexIndices.push_back(static_cast<std::uint16_t>(base + corner));
            piece.primitives.push_back(face);
            if (!isOneIn(6)) continue;
            auto& doubled = face.vertexIndices;
            const auto first = doubled.begin() + static_cast<std::ptrdiff_t>(below(4));
            std::rotate(doubled.begin(), first, doubled.end());
            if (isOneIn(2)) std::ranges::reverse(doubled);
            face.flags[0] = isOneIn(2);
            piece.primitives.push_back(face);
        }
    }

    std::mt19937 random_;
};

}  // namespace orb::unitview
