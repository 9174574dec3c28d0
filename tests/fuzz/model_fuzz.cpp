#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "io/formats/model3do.h"
#include "model/glb.h"
#include "model/mesh.h"
#include "model/piece_list.h"

// A 3DO model: reading, writing what was read, and converting it for viewers.

namespace orb::fuzz {
namespace {

using nlohmann::json;

/// Larger results are converted, but not looked at in every detail.
constexpr std::size_t kMaxChecked = 1 << 20;

void checkMesh(const unitview::ModelMesh& mesh, std::size_t pieceCount) {
    require(mesh.pieces.size() == pieceCount, "every piece has a mesh");
    require(mesh.positions.size() == mesh.texCoords.size(), "every vertex has a coordinate");
    std::size_t vertices = 0;
    for (const unitview::DrawRange& range : mesh.ranges) {
        require(range.firstVertex == vertices && range.vertexCount % 3 == 0, "ranges follow");
        require(range.vertexCount <= unitview::kMaxRangeVertices, "indices fit 16 bits");
        require(!range.texture || *range.texture < mesh.textureNames.size(),
                "a texture has a name");
        vertices += range.vertexCount;
    }
    require(vertices == mesh.positions.size(), "ranges hold every vertex");
}

/// Every accessor lies in its view, and every view in the buffer.
void checkDocument(const json& document, std::size_t binarySize) {
    const json none = json::array();
    const std::size_t bufferSize =
        document.contains("buffers") ? document["buffers"][0]["byteLength"].get<std::size_t>() : 0;
    require(bufferSize <= binarySize, "the buffer is there");
    for (const json& view : document.value("bufferViews", none))
        require(view.value("byteOffset", 0U) + view["byteLength"].get<std::size_t>() <= bufferSize,
                "a view lies in the buffer");
    for (const json& accessor : document.value("accessors", none)) {
        const json& view = document["bufferViews"].at(accessor["bufferView"].get<std::size_t>());
        const bool isShort = accessor["componentType"] == 5123;
        const std::string type = accessor["type"];
        const std::size_t parts = type == "SCALAR" ? 1
                                  : type == "VEC2" ? 2
                                  : type == "VEC3" ? 3
                                                   : 4;
        require(accessor.value("byteOffset", 0U) +
                        accessor["count"].get<std::size_t>() * parts * (isShort ? 2 : 1) <=
                    view["byteLength"].get<std::size_t>(),
                "an accessor lies in its view");
    }
}

void checkGlb(const io::Bytes& glb, std::size_t pieceCount) {
    io::ByteCursor cursor(glb, "GLB ends early");
    require(cursor.u32() == 0x46546C67 && cursor.u32() == 2 && cursor.u32() == glb.size(),
            "the header tells the length");
    const std::uint32_t jsonSize = cursor.u32();
    require(cursor.u32() == 0x4E4F534A && jsonSize % 4 == 0, "the document comes first");
    const io::ByteView text = cursor.take(jsonSize);
    const std::uint32_t binarySize = cursor.u32();
    require(cursor.u32() == 0x004E4942 && binarySize % 4 == 0 && cursor.remaining() == binarySize,
            "the buffer is the rest");
    if (text.size() > kMaxChecked) return;
    const json document = json::parse(io::asText(text), nullptr, false);
    require(document.is_object(), "the document is JSON");
    require(document["nodes"].size() == pieceCount, "every piece is a node");
    checkDocument(document, binarySize);
}

}  // namespace

void run(io::ByteView input) {
    io::Model3doObject model;
    if (!accepts([&] { model = io::parse3do(input); })) return;
    const io::Bytes written = io::write3do(model);
    if (written.size() <= kMaxChecked)
        require(io::write3do(io::parse3do(written)) == written, "a model reads as it was written");

    const std::size_t pieceCount = unitview::flattenPieces(model).size();
    require(unitview::pieceNames(model).size() == pieceCount, "every piece has a name");
    accepts([&] { checkMesh(unitview::buildMesh(model), pieceCount); });
    unitview::TextureSet textures;
    for (const std::string& name : unitview::textureNames(model)) {
        const auto png = std::make_shared<const io::Bytes>(3, std::uint8_t{1});
        textures[name] = {name, png};
        if (textures.size() == 2) break;
    }
    const unitview::TeamColor team{.color = {200, 10, 10}, .enabled = true};
    accepts([&] {
        checkGlb(unitview::model3doToGlb(model, textures, io::greyscaleRamp(), team), pieceCount);
    });
}

}  // namespace orb::fuzz
