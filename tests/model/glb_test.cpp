#include "model/glb.h"

#include <bit>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "model/mesh.h"
#include "tests/log_capture.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using nlohmann::json;

struct Glb {
    json document;
    std::string text;
    io::Bytes binary;
};

Glb readGlb(const io::Bytes& bytes) {
    io::ByteCursor cursor(bytes, "cut");
    Glb glb;
    EXPECT_EQ(io::asText(cursor.take(4)), "glTF");
    EXPECT_EQ(cursor.u32(), 2U);
    EXPECT_EQ(cursor.u32(), bytes.size());
    const std::uint32_t jsonLength = cursor.u32();
    EXPECT_EQ(io::asText(cursor.take(4)), "JSON");
    glb.text = io::asText(cursor.take(jsonLength));
    glb.document = json::parse(glb.text);
    const std::uint32_t binaryLength = cursor.u32();
    EXPECT_EQ(io::asText(cursor.take(4)), std::string_view("BIN\0", 4));
    const io::ByteView binary = cursor.take(binaryLength);
    glb.binary.assign(binary.begin(), binary.end());
    EXPECT_EQ(cursor.remaining(), 0U);
    return glb;
}

/// The bytes that an accessor or image reads, through its buffer view.
io::Bytes viewed(const Glb& glb, const json& reader) {
    const json& view = glb.document["bufferViews"].at(reader["bufferView"].get<std::size_t>());
    const auto start = glb.binary.begin() + view["byteOffset"].get<std::ptrdiff_t>();
    return {start, start + view["byteLength"].get<std::ptrdiff_t>()};
}

io::Bytes attribute(const Glb& glb, const json& primitive, const char* name) {
    return viewed(glb,
                  glb.document["accessors"].at(primitive["attributes"][name].get<std::size_t>()));
}

io::Bytes floats(std::initializer_list<float> values) {
    io::ByteWriter out;
    for (const float value : values) out.u32(std::bit_cast<std::uint32_t>(value));
    return out.take();
}

/// A root whose faces are coloured, team-coloured, colourless, textured and a textured twin.
Model3doObject sampleModel() {
    Model3doObject root;
    root.name = "base";
    root.vertices = {{0.1F, 0, -1}, {0, 2, 0}, {3, 0, 0}};
    for (const auto& [color, texture] :
         std::initializer_list<std::pair<std::optional<std::uint8_t>, std::optional<std::string>>>{
             {51, {}}, {111, {}}, {{}, {}}, {{}, "Wall"}, {{}, "lost"}, {{}, "wall"}})
        root.primitives.push_back({{0, 1, 2}, color, texture, {}});
    root.primitives.back().flags[kTwinFlag] = true;
    root.children.push_back(std::make_unique<Model3doObject>());
    root.children[0]->name = "arm\xFF";
    root.children[0]->position = {0, 1.5F, 0};
    return root;
}

const TextureSet& sampleTextures() {
    static const TextureSet kTextures = {
        {"WALL", {"Wall", std::make_shared<const io::Bytes>(io::Bytes{1, 2, 3, 4, 5})}}};
    return kTextures;
}

TEST(Glb, DescribesPiecesFacesAndMaterials) {
    const Glb glb = readGlb(model3doToGlb(sampleModel(), sampleTextures(), io::greyscaleRamp(),
                                          {{255, 0, 0}, true, {}}));
    const json& document = glb.document;
    EXPECT_EQ(document["asset"], (json{{"version", "2.0"}, {"generator", "ORB Unit Editor"}}));
    EXPECT_EQ(document["nodes"], json::parse(R"([{"children":[1],"mesh":0,"name":"base"},
                              {"name":"arm\ufffd","translation":[0.0,1.5,0.0]}])"));
    EXPECT_EQ(document["scenes"],
              json::parse(R"([{"extras":{"pieceCount":2,"unitRootPiece":"base"},"nodes":[0]}])"));
    EXPECT_EQ(document["textures"], json::parse(R"([{"sampler":0,"source":0}])"));
    EXPECT_EQ(document["buffers"], (json::array({{{"byteLength", glb.binary.size()}}})));

    std::vector<std::string> names;
    for (const json& material : document["materials"]) names.push_back(material["name"]);
    EXPECT_EQ(names, (std::vector<std::string>{"untextured", "untextured_twin", "tex_Wall",
                                               "tex_Wall_twin"}));
    EXPECT_EQ(document["materials"][3], json::parse(R"({"name":"tex_Wall_twin","doubleSided":false,
        "alphaMode":"MASK","alphaCutoff":0.5,"extensions":{"KHR_materials_unlit":{}},
        "pbrMetallicRoughness":{"baseColorFactor":[1,1,1,1],"metallicFactor":0,"roughnessFactor":1,
                                "baseColorTexture":{"index":0,"texCoord":0}}})"));

    const json& faces = document["meshes"][0]["primitives"];
    std::vector<int> materials;
    for (const json& face : faces) materials.push_back(face["material"]);
    EXPECT_EQ(materials, (std::vector<int>{0, 0, 0, 2, 0, 3}));
    EXPECT_EQ(faces[5]["extras"]["primIndex"], 5);
    EXPECT_EQ(attribute(glb, faces[0], "POSITION"), floats({0.1F, 0, -1, 3, 0, 0, 0, 2, 0}));
    EXPECT_EQ(attribute(glb, faces[0], "COLOR_0"),
              floats({0.2F, 0.2F, 0.2F, 0.2F, 0.2F, 0.2F, 0.2F, 0.2F, 0.2F}));
    const float dark = (1.0F - 1.0F) * 0.65F + 0.35F;
    EXPECT_EQ(attribute(glb, faces[1], "COLOR_0"), floats({dark, 0, 0, dark, 0, 0, dark, 0, 0}));
    for (const std::size_t grey : {2, 4})
        EXPECT_EQ(attribute(glb, faces[grey], "COLOR_0"),
                  floats({.5F, .5F, .5F, .5F, .5F, .5F, .5F, .5F, .5F}));
    EXPECT_EQ(attribute(glb, faces[3], "COLOR_0"), floats({1, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(viewed(glb, document["accessors"][faces[3]["indices"].get<std::size_t>()]),
              (io::Bytes{0, 0, 1, 0, 2, 0}));
    EXPECT_EQ(viewed(glb, document["images"][0]), (io::Bytes{1, 2, 3, 4, 5}));

    const json& position = document["accessors"][0];
    EXPECT_EQ(position["min"], (json{0.0, 0.0, -1.0}));
    EXPECT_EQ(position["max"][0].get<float>(), 3.0F);
    EXPECT_EQ(position["type"], "VEC3");
    for (const json& view : document["bufferViews"]) {
        EXPECT_EQ(view["byteOffset"].get<int>() % 4, 0);
        EXPECT_EQ(view.value("target", 0), view["byteLength"] == 6   ? 34963
                                           : view["byteLength"] == 5 ? 0
                                                                     : 34962);
    }
}

TEST(Glb, PadsTheDocumentOnlyWhereItMust) {
    Model3doObject model;
    for (int length = 0; length < 8; ++length) {
        const Glb glb = readGlb(model3doToGlb(model, {}, io::greyscaleRamp(), {}));
        const std::size_t compact = glb.document.dump().size();
        EXPECT_EQ(glb.text, glb.document.dump() + std::string((4 - compact % 4) % 4, ' '));
        // nothing to draw: the chunk stays, what would be empty does not
        EXPECT_TRUE(glb.binary.empty());
        for (const char* const absent : {"meshes", "accessors", "bufferViews", "buffers", "images"})
            EXPECT_FALSE(glb.document.contains(absent)) << absent;
        model.name += 'x';
    }
}

TEST(Glb, KeepsBoundsExact) {
    Model3doObject model;
    model.vertices = {{0.1F, 1 / 3.0F, 16.0F}, {1e-7F, 2, 3}, {-0.1F, 5, 6}};
    model.primitives = {{{0, 1, 2}, 1, std::nullopt, {}}};
    const json accessor =
        readGlb(model3doToGlb(model, {}, io::greyscaleRamp(), {})).document["accessors"][0];
    EXPECT_EQ(accessor["min"][0].get<double>(), static_cast<double>(-0.1F));
    EXPECT_EQ(accessor["min"][1].get<double>(), static_cast<double>(1 / 3.0F));
}

TEST(Glb, LogsItsSteps) {
    const LogCapture log;
    const io::Bytes bytes = model3doToGlb(sampleModel(), sampleTextures(), io::greyscaleRamp(), {});
    const Glb glb = readGlb(bytes);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "[INFO] [glb] model3doToGlb start: root='base' textures=1 palette=256",
                  "[INFO] [glb] flattened pieces=2",
                  "[INFO] [glb] emitPieceGeometryDFS done; pieceMeshes=1 bin=624",
                  fmt::format("[INFO] [glb] model3doToGlb done: totalSize={} jsonSize={} "
                              "binSize=632",
                              bytes.size(), glb.text.size())}));
}

}  // namespace
}  // namespace orb::unitview
