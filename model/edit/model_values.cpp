#include "model/edit/model_values.h"

#include <algorithm>
#include <cmath>

#include "io/formats/name_reader.h"
#include "model/piece_list.h"

// These walk as deep as pieces nest, which the reader bounds.

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;

constexpr double kStepsPerUnit = 65536;
constexpr double kEndOfGrid = 32768;

std::size_t heapSize(const std::string& text) {
    constexpr std::size_t kInPlace = 15;
    return text.capacity() > kInPlace ? text.capacity() + 1 : 0;
}

std::size_t memoryOf(const Model3doPrimitive& face) {
    return sizeof face + face.vertexIndices.capacity() * sizeof(std::uint16_t) +
           (face.textureName ? heapSize(*face.textureName) : 0);
}

}  // namespace

Model3doObject copyModel(const Model3doObject& root) {
    Model3doObject copy;
    copy.name = root.name;
    copy.position = root.position;
    copy.vertices = root.vertices;
    copy.primitives = root.primitives;
    copy.selectionPrimitive = root.selectionPrimitive;
    copy.isIncomplete = root.isIncomplete;
    copy.children.reserve(root.children.size());
    for (const auto& child : root.children)
        copy.children.push_back(std::make_unique<Model3doObject>(copyModel(*child)));
    return copy;
}

bool isSameModel(const Model3doObject& a, const Model3doObject& b) {
    return a.name == b.name && a.position == b.position && a.vertices == b.vertices &&
           a.selectionPrimitive == b.selectionPrimitive && a.primitives == b.primitives &&
           a.isIncomplete == b.isIncomplete &&
           std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                      [](const auto& x, const auto& y) { return isSameModel(*x, *y); });
}

std::size_t memoryOf(const Model3doObject& root) {
    std::size_t size = sizeof root + heapSize(root.name) +
                       root.vertices.capacity() * sizeof(io::ModelPoint) +
                       root.children.capacity() * sizeof(root.children[0]);
    for (const Model3doPrimitive& face : root.primitives) size += memoryOf(face);
    for (const auto& child : root.children) size += memoryOf(*child);
    return size;
}

bool fitsIntoFile(const Model3doObject& root) {
    std::size_t arrayBytes = 0, nameBytes = 0;
    for (const auto& [piece, parent] : flattenPieces(root)) {
        arrayBytes += piece->vertices.size() * io::k3doVertexSize +
                      piece->primitives.size() * io::k3doPrimitiveSize;
        nameBytes += piece->name.size();
        for (const Model3doPrimitive& face : piece->primitives) {
            arrayBytes += face.vertexIndices.size() * sizeof(std::uint16_t);
            nameBytes += face.textureName ? face.textureName->size() : 0;
        }
    }
    return arrayBytes <= io::kMax3doArrayBytes && nameBytes < io::kMaxNameBytesPerFile;
}

bool lacksPieces(const Model3doObject& root) {
    return root.isIncomplete || std::ranges::any_of(root.children, [](const auto& child) {
               return lacksPieces(*child);
           });
}

std::optional<double> onFileGrid(double coordinate) {
    const double steps = std::round(coordinate * kStepsPerUnit);
    if (!(std::abs(steps) < kEndOfGrid * kStepsPerUnit)) return std::nullopt;  // nor NaN
    return steps == 0 ? 0 : steps / kStepsPerUnit;
}

}  // namespace orb::unitview
