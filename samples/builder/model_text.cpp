#include "samples/builder/model_text.h"

#include <array>
#include <cmath>

#include <fmt/format.h>

namespace orb::samples {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;
using io::Vec3;

/// The faces of a box: top, bottom, front, back, right, left, each clockwise as seen from outside
/// and a side from its top left corner on, where its texture begins. Bits 0, 1, 2 of a corner's
/// number choose the greater x, z, y.
constexpr std::array<std::array<std::uint16_t, 4>, 6> kBoxFaces = {
    {{4, 5, 7, 6}, {0, 2, 3, 1}, {6, 7, 3, 2}, {5, 4, 0, 1}, {4, 6, 2, 0}, {7, 5, 1, 3}}};
constexpr int kMaxTubeSides = 64;
constexpr float kTurn = 6.2831853F;

io::ModelPoint exactly(const Vec3& v) {
    return {v[0], v[1], v[2]};
}

class ModelReader {
public:
    ModelReader(SourceText& source, const NamedPalette& palette)
        : source_(source), palette_(palette) {}

    Model3doObject read();

private:
    void readPiece();
    void readVertex() {
        written_.push_back(piece_->vertices.size());
        piece_->vertices.push_back(exactly(vec(1)));
    }
    void readFace();
    void readBox();
    void readTube();
    void readGround();

    Vec3 vec(std::size_t word) const {
        return {source_.number(word, "x"), source_.number(word + 1, "y"),
                source_.number(word + 2, "z")};
    }
    /// The value of the word KEY=VALUE of the line, empty when there is none.
    std::string attribute(std::string_view key) const;
    /// A face with the line's colour and texture.
    Model3doPrimitive face() const;
    /// Adds a face over vertices that begin at `base`.
    template <typename Indices>
    void addFace(std::size_t base, const Indices& indices);

    SourceText& source_;
    const NamedPalette& palette_;
    Model3doObject root_;
    Model3doObject* piece_ = nullptr;
    /// The vertices of the piece's v lines, by which f lines count.
    std::vector<std::size_t> written_;
    std::map<std::string, Model3doObject*> pieces_;
};

Model3doObject ModelReader::read() {
    using Line = void (ModelReader::*)();
    static const std::map<std::string_view, Line> kLines = {
        {"v", &ModelReader::readVertex},      {"f", &ModelReader::readFace},
        {"box", &ModelReader::readBox},       {"tube", &ModelReader::readTube},
        {"ground", &ModelReader::readGround}, {"piece", &ModelReader::readPiece}};
    while (source_.next()) {
        const std::string& word = source_.words()[0];
        const auto line = kLines.find(word);
        if (line == kLines.end()) source_.fail(fmt::format("unknown line '{}'", word));
        if (!piece_ && word != "piece") source_.fail("a model begins with a piece");
        (this->*line->second)();
    }
    if (!piece_) source_.fail("the model has no piece");
    return std::move(root_);
}

void ModelReader::readPiece() {
    const std::string& name = source_.word(1, "the piece's name");
    const std::string& parentName = source_.word(2, "the parent piece, - for the first one");
    Model3doObject* target = &root_;
    if (piece_) {
        const auto parent = pieces_.find(parentName);
        if (parent == pieces_.end()) source_.fail(fmt::format("unknown piece '{}'", parentName));
        auto& children = parent->second->children;
        children.push_back(std::make_unique<Model3doObject>());
        target = children.back().get();
    } else if (parentName != "-") {
        source_.fail("the first piece has no parent: write -");
    }
    target->name = name;
    target->position = exactly(vec(3));
    if (!pieces_.emplace(name, target).second)
        source_.fail(fmt::format("piece '{}' is there already", name));
    piece_ = target;
    written_.clear();
}

std::string ModelReader::attribute(std::string_view key) const {
    for (const std::string& word : source_.words())
        if (word.size() > key.size() && word[key.size()] == '=' && word.starts_with(key))
            return word.substr(key.size() + 1);
    return {};
}

Model3doPrimitive ModelReader::face() const {
    Model3doPrimitive face;
    const std::string color = attribute("color"), texture = attribute("texture");
    if (color.empty()) source_.fail("expected color=");
    face.color = palette_.index(source_, color);
    if (!texture.empty()) face.textureName = texture;
    return face;
}

template <typename Indices>
void ModelReader::addFace(std::size_t base, const Indices& indices) {
    Model3doPrimitive added = face();
    for (const std::size_t index : indices)
        added.vertexIndices.push_back(static_cast<std::uint16_t>(base + index));
    piece_->primitives.push_back(std::move(added));
}

void ModelReader::readFace() {
    std::vector<std::size_t> indices;
    for (std::size_t i = 1; i < source_.words().size(); ++i) {
        if (source_.words()[i].find('=') != std::string::npos) break;
        const int index = source_.integer(i, "a vertex index");
        if (index < 0 || static_cast<std::size_t>(index) >= written_.size())
            source_.fail(fmt::format("piece '{}' has no vertex {} yet", piece_->name, index));
        indices.push_back(written_[static_cast<std::size_t>(index)]);
    }
    addFace(0, indices);
}

void ModelReader::readBox() {
    const Vec3 center = vec(1), size = vec(4);
    // taper=XZ or taper=X,Z: how wide the top is, in parts of the bottom.
    const std::string taper = attribute("taper");
    const auto comma = taper.find(',');
    double taperX = 1, taperZ = 1;
    if (!taper.empty() && (!parseNumber(std::string_view(taper).substr(0, comma), taperX) ||
                           !parseNumber(std::string_view(taper).substr(comma + 1), taperZ)))
        source_.fail(fmt::format("expected taper=NUMBER or NUMBER,NUMBER but found '{}'", taper));

    const std::size_t base = piece_->vertices.size();
    for (int corner = 0; corner < 8; ++corner) {
        const bool top = (corner & 4) != 0;
        const float x = size[0] / 2 * (top ? static_cast<float>(taperX) : 1.0F);
        const float z = size[2] / 2 * (top ? static_cast<float>(taperZ) : 1.0F);
        piece_->vertices.push_back(exactly({center[0] + ((corner & 1) != 0 ? x : -x),
                                            center[1] + (top ? size[1] / 2 : -size[1] / 2),
                                            center[2] + ((corner & 2) != 0 ? z : -z)}));
    }
    for (const auto& corners : kBoxFaces) addFace(base, corners);
}

void ModelReader::readTube() {
    const Vec3 start = vec(1);
    const float radius = source_.number(4, "the radius"), length = source_.number(5, "the length");
    const std::string sidesText = attribute("sides"), axisText = attribute("axis");
    double sidesValue = 8;
    if (!sidesText.empty() && !parseNumber(sidesText, sidesValue)) source_.fail("bad sides=");
    const auto sides = static_cast<std::size_t>(sidesValue);
    if (sidesValue < 3 || sidesValue > kMaxTubeSides) source_.fail("a tube has 3 to 64 sides");
    const std::size_t axis = axisText == "x" ? 0 : axisText == "y" ? 1 : 2;

    // Even vertices ring the start, odd ones the end.
    const std::size_t base = piece_->vertices.size();
    std::vector<std::size_t> startCap, endCap;
    for (std::size_t i = 0; i < sides; ++i) {
        const float angle = kTurn * static_cast<float>(i) / static_cast<float>(sides);
        Vec3 v = start;
        v[(axis + 1) % 3] += radius * std::cos(angle);
        v[(axis + 2) % 3] += radius * std::sin(angle);
        piece_->vertices.push_back(exactly(v));
        v[axis] += length;
        piece_->vertices.push_back(exactly(v));
        startCap.push_back(2 * i);
        endCap.insert(endCap.begin(), 2 * i + 1);
    }
    for (std::size_t i = 0; i < sides; ++i) {
        const std::size_t here = 2 * i, next = 2 * ((i + 1) % sides);
        addFace(base, std::array{here, here + 1, next + 1, next});
    }
    addFace(base, startCap);
    addFace(base, endCap);
}

void ModelReader::readGround() {
    const float x = source_.number(1, "the width") / 2, z = source_.number(2, "the depth") / 2;
    const float y = source_.number(3, "the height");
    const auto base = static_cast<std::uint16_t>(piece_->vertices.size());
    for (const Vec3& corner : {Vec3{-x, y, -z}, Vec3{x, y, -z}, Vec3{x, y, z}, Vec3{-x, y, z}})
        piece_->vertices.push_back(exactly(corner));
    Model3doPrimitive plate;
    plate.color = 0;
    for (int i = 0; i < 4; ++i) plate.vertexIndices.push_back(static_cast<std::uint16_t>(base + i));
    piece_->selectionPrimitive = static_cast<std::int32_t>(piece_->primitives.size());
    piece_->primitives.push_back(std::move(plate));
}

}  // namespace

Model3doObject parseModel(SourceText& source, const NamedPalette& palette) {
    return ModelReader(source, palette).read();
}

}  // namespace orb::samples
