#include "model/glb.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>

#include <fmt/compile.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/product.h"
#include "model/mesh.h"
#include "model/piece_list.h"
#include "model/vectors.h"
#include "server/logger.h"

// Binary glTF 2.0, little-endian.
//
//   container                        binary buffer, each block padded with zeros to 4 bytes
//   0       u32  "glTF"              per draw range: positions   3 f32 per vertex
//   4       u32  2                                   colours     3 f32 per vertex
//   8       u32  length of all                       texture uv  2 f32 per vertex
//   12      u32  J, JSON length                      indices     1 u16 per vertex: 0, 1, 2, …
//   16      u32  "JSON"              per texture:    a PNG file
//   20      JSON, padded with blanks
//   20 + J  u32  BIN length
//   24 + J  u32  "BIN\0"
//   28 + J  the binary buffer

namespace orb::unitview {
namespace {

using nlohmann::json;

constexpr std::uint32_t kMagic = 0x46546C67;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinChunk = 0x004E4942;
/// All of the container but its two chunks' contents.
constexpr std::size_t kContainerSize = 28;
constexpr std::size_t kLengthAt = 8;
constexpr std::size_t kJsonLengthAt = 12;
constexpr std::size_t kAlignment = 4;

// Values of the format's own enumerations.
constexpr int kLinear = 9729;
constexpr int kLinearMipmapLinear = 9987;
constexpr int kRepeat = 10497;
constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;
constexpr int kUnsignedShort = 5123;
constexpr int kFloat = 5126;
constexpr int kTriangles = 4;

constexpr double kAlphaCutoff = 0.5;
constexpr ColorRgb kGrey = {0.5F, 0.5F, 0.5F};
/// Leaves a texture's own colours as they are.
constexpr ColorRgb kWhite = {1, 1, 1};

/// Materials stand in pairs: one for faces, one for their twins. The first pair is untextured.
constexpr std::size_t kMaterialsPerTexture = 2;

/// A JSON array of many records of numbers, kept as text: as a tree of values it would take most of
/// the time and memory of an export.
class RecordList {
public:
    /// Appends a record that is put together of texts and numbers; returns its index.
    template <typename... Parts>
    std::size_t add(const Parts&... parts) {
        const std::size_t most = size_ + (roomFor(parts) + ... + 1);
        if (most > capacity_) grow(std::max(most, 2 * capacity_));
        char* end = text_.get() + size_;
        *end++ = count_ == 0 ? '[' : ',';
        ((end = write(end, parts)), ...);
        size_ = static_cast<std::size_t>(end - text_.get());
        return count_++;
    }
    std::size_t size() const { return count_; }
    /// The array without its closing bracket. Empty without records, since the format forbids empty
    /// arrays.
    std::string_view openText() const { return {text_.get(), size_}; }

private:
    /// Of a number's text: 64 bits have 20 digits, a double takes at most 24 characters.
    static constexpr std::size_t kNumberRoom = 32;

    static std::size_t roomFor(std::string_view text) { return text.size(); }
    template <typename Number>
    requires std::is_arithmetic_v<Number>
    static std::size_t roomFor(Number) { return kNumberRoom; }
    static std::size_t roomFor(const io::Vec3& point) {
        return 2 + point.size() * (kNumberRoom + 1);
    }

    static char* write(char* to, std::string_view text) {
        return std::copy(text.begin(), text.end(), to);
    }
    template <typename Number>
    requires std::is_integral_v<Number>
    static char* write(char* to, Number number) {
        return std::to_chars(to, to + kNumberRoom, number).ptr;
    }
    /// With every digit that the floats have, seen as doubles.
    static char* write(char* to, const io::Vec3& point) {
        *to++ = '[';
        for (const float value : point) {
            to = fmt::format_to(to, FMT_COMPILE("{}"), static_cast<double>(value));
            *to++ = ',';
        }
        to[-1] = ']';
        return to;
    }

    void grow(std::size_t capacity) {
        auto grown = std::make_unique_for_overwrite<char[]>(capacity);
        std::copy_n(text_.get(), size_, grown.get());
        text_ = std::move(grown);
        capacity_ = capacity;
    }

    /// No vector, which would fill what is written anyway, and touch memory that never is.
    std::unique_ptr<char[]> text_;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
    std::size_t count_ = 0;
};

struct Bounds {
    io::Vec3 least;
    io::Vec3 greatest;
};

Bounds boundsOf(std::span<const io::Vec3> positions) {
    Bounds bounds{positions.front(), positions.front()};
    for (const io::Vec3& position : positions) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            bounds.least[axis] = std::min(bounds.least[axis], position[axis]);
            bounds.greatest[axis] = std::max(bounds.greatest[axis], position[axis]);
        }
    }
    return bounds;
}

/// Writes the bytes of an unsigned number, the lowest first; returns where they end.
template <typename Number>
std::uint8_t* writeNumber(std::uint8_t* to, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        *to++ = static_cast<std::uint8_t>(number >> 8 * i);
    return to;
}

template <typename Vector>
std::uint8_t* writeVector(std::uint8_t* to, const Vector& vector) {
    for (const float value : vector) to = writeNumber(to, std::bit_cast<std::uint32_t>(value));
    return to;
}

constexpr std::size_t padded(std::size_t length) {
    return (length + kAlignment - 1) / kAlignment * kAlignment;
}

/// Where the blocks of the binary buffer lie, and the list of views that says so. What adds one
/// returns the index of its view.
class BlockLayout {
public:
    std::size_t addVertexData(std::size_t length) {
        return add(length, R"(,"target":)", kArrayBuffer, "}");
    }
    std::size_t addIndices(std::size_t length) {
        return add(length, R"(,"target":)", kElementArrayBuffer, "}");
    }
    std::size_t addPicture(std::size_t length) { return add(length, "}"); }

    /// Of the buffer.
    std::size_t size() const { return size_; }
    const RecordList& views() const { return views_; }

private:
    template <typename... Rest>
    std::size_t add(std::size_t length, const Rest&... rest) {
        const std::size_t start = size_;
        size_ += padded(length);
        return views_.add(R"({"buffer":0,"byteLength":)", length, R"(,"byteOffset":)", start,
                          rest...);
    }

    std::size_t size_ = 0;
    RecordList views_;
};

/// The materials that show a mesh, and the textures in the order of the file.
class Materials {
public:
    Materials(const ModelMesh& mesh, const TextureSet& textures) : textures_(textures) {
        std::unordered_map<std::string_view, std::size_t> places;
        for (const auto& [name, texture] : textures) places.emplace(name, places.size());
        for (const std::string& name : mesh.textureNames) {
            const auto found = places.find(name);
            slots_.push_back(found == places.end() ? std::nullopt : std::optional(found->second));
        }
    }

    bool isTextured(const DrawRange& range) const { return slotOf(range).has_value(); }

    /// The index of a range's material in `encode()`.
    std::size_t indexOf(const DrawRange& range) const {
        const auto slot = slotOf(range);
        return (slot ? *slot + 1 : 0) * kMaterialsPerTexture + (range.isTwin ? 1 : 0);
    }

    json encode() const {
        json result = json::array();
        const auto addPair = [&](const std::string& name, const json& material) {
            for (const char* const suffix : {"", "_twin"}) {
                result.push_back(material);
                result.back()["name"] = name + suffix;
            }
        };
        json material = {
            {"pbrMetallicRoughness",
             {{"baseColorFactor", {1, 1, 1, 1}}, {"metallicFactor", 0}, {"roughnessFactor", 1}}},
            {"extensions", {{"KHR_materials_unlit", json::object()}}},
            {"doubleSided", false}};
        addPair("untextured", material);
        material["alphaMode"] = "MASK";
        material["alphaCutoff"] = kAlphaCutoff;
        json& picture = material["pbrMetallicRoughness"]["baseColorTexture"];
        picture = {{"index", 0}, {"texCoord", 0}};
        for (const auto& [key, texture] : textures_) {
            addPair("tex_" + texture.name, material);
            picture["index"] = picture["index"].get<std::size_t>() + 1;
        }
        return result;
    }

private:
    std::optional<std::size_t> slotOf(const DrawRange& range) const {
        return range.texture ? slots_[*range.texture] : std::nullopt;
    }

    const TextureSet& textures_;
    /// The place in the file of each texture of the mesh; none for one that is missing.
    std::vector<std::optional<std::size_t>> slots_;
};

/// Turns the draw ranges of pieces into meshes of the document.
class GeometryWriter {
public:
    GeometryWriter(const ModelMesh& mesh, const Materials& materials,
                   const std::array<ColorRgb, 256>& colors, BlockLayout& layout)
        : mesh_(mesh), materials_(materials), colors_(colors), layout_(layout) {}

    /// The index of the mesh, or none for a piece without geometry.
    std::optional<std::size_t> addPiece(const PieceMesh& piece) {
        if (piece.rangeCount == 0) return std::nullopt;
        RecordList primitives;
        for (std::size_t i = 0; i < piece.rangeCount; ++i)
            addRange(mesh_.ranges[piece.firstRange + i], primitives);
        return meshes_.add(R"({"primitives":)", primitives.openText(), "]}");
    }

    const RecordList& meshes() const { return meshes_; }
    const RecordList& accessors() const { return accessors_; }

    /// Writes the blocks of all pieces, which were added in their order; returns where they end.
    std::uint8_t* writeBlocks(std::uint8_t* to) const {
        for (const DrawRange& range : mesh_.ranges) to = writeRange(to, range);
        return to;
    }

private:
    void addRange(const DrawRange& range, RecordList& primitives) {
        const std::size_t count = range.vertexCount;
        const Bounds bounds = boundsOf(positionsOf(range));
        const std::size_t position =
            addAccessor(layout_.addVertexData(count * sizeof(io::Vec3)), kFloat, count, R"("max":)",
                        bounds.greatest, R"(,"min":)", bounds.least, R"(,"type":"VEC3"})");
        const std::size_t color = addAccessor(layout_.addVertexData(count * sizeof(ColorRgb)),
                                              kFloat, count, R"("type":"VEC3"})");
        const std::size_t texCoord = addAccessor(layout_.addVertexData(count * sizeof(TexCoord)),
                                                 kFloat, count, R"("type":"VEC2"})");
        const std::size_t indices = addAccessor(layout_.addIndices(count * sizeof(std::uint16_t)),
                                                kUnsignedShort, count, R"("type":"SCALAR"})");
        primitives.add(R"({"attributes":{"COLOR_0":)", color, R"(,"POSITION":)", position,
                       R"(,"TEXCOORD_0":)", texCoord, R"(},"extras":{"primIndex":)",
                       range.primIndex, R"(},"indices":)", indices, R"(,"material":)",
                       materials_.indexOf(range), R"(,"mode":)", kTriangles, "}");
    }

    /// The blocks of `addRange`.
    std::uint8_t* writeRange(std::uint8_t* to, const DrawRange& range) const {
        const std::size_t count = range.vertexCount;
        const ColorRgb color = colorOf(range);
        for (const io::Vec3& position : positionsOf(range)) to = writeVector(to, position);
        for (std::size_t i = 0; i < count; ++i) to = writeVector(to, color);
        for (std::size_t i = 0; i < count; ++i)
            to = writeVector(to, mesh_.texCoords[range.firstVertex + i]);
        std::uint8_t* const indices = to;
        for (std::size_t i = 0; i < count; ++i) to = writeNumber(to, static_cast<std::uint16_t>(i));
        return indices + padded(count * sizeof(std::uint16_t));
    }

    std::span<const io::Vec3> positionsOf(const DrawRange& range) const {
        return {mesh_.positions.data() + range.firstVertex, range.vertexCount};
    }

    ColorRgb colorOf(const DrawRange& range) const {
        if (materials_.isTextured(range)) return kWhite;
        return range.color ? colors_[*range.color] : kGrey;
    }

    template <typename... Rest>
    std::size_t addAccessor(std::size_t bufferView, int componentType, std::size_t count,
                            const Rest&... rest) {
        return accessors_.add(R"({"bufferView":)", bufferView, R"(,"componentType":)",
                              componentType, R"(,"count":)", count, ",", rest...);
    }

    const ModelMesh& mesh_;
    const Materials& materials_;
    const std::array<ColorRgb, 256>& colors_;
    BlockLayout& layout_;
    RecordList meshes_;
    RecordList accessors_;
};

/// The pieces as nodes, without their meshes.
json encodeNodes(const std::vector<PieceRef>& pieces) {
    json nodes = json::array();
    for (const auto& [piece, parent] : pieces) {
        json node = {{"name", piece->name}};
        if (piece->position != io::ModelPoint{}) node["translation"] = toFloat(piece->position);
        if (parent >= 0)
            nodes[static_cast<std::size_t>(parent)]["children"].push_back(nodes.size());
        nodes.push_back(std::move(node));
    }
    return nodes;
}

/// Everything of the document but geometry and pictures.
json documentFrame(const io::Model3doObject& model, std::size_t pieceCount) {
    return {
        {"asset", {{"version", "2.0"}, {"generator", io::kProductName}}},
        {"extensionsUsed", json::array({"KHR_materials_unlit"})},
        {"samplers", json::array({{{"magFilter", kLinear},
                                   {"minFilter", kLinearMipmapLinear},
                                   {"wrapS", kRepeat},
                                   {"wrapT", kRepeat}}})},
        {"scene", 0},
        {"scenes",
         json::array({{{"nodes", json::array({0})},
                       {"extras", {{"unitRootPiece", model.name}, {"pieceCount", pieceCount}}}}})}};
}

/// Adds the pictures and what refers to them.
void addPictures(json& document, const TextureSet& set, BlockLayout& layout) {
    json images = json::array();
    json textures = json::array();
    for (const auto& [key, texture] : set) {
        images.push_back(
            {{"mimeType", "image/png"}, {"bufferView", layout.addPicture(texture.png->size())}});
        textures.push_back({{"sampler", 0}, {"source", textures.size()}});
    }
    if (images.empty()) return;
    document["images"] = std::move(images);
    document["textures"] = std::move(textures);
}

/// The blocks of `addPictures`.
void writePictures(std::uint8_t* to, const TextureSet& set) {
    for (const auto& [key, texture] : set) {
        std::ranges::copy(*texture.png, to);
        to += padded(texture.png->size());
    }
}

/// The members of the document that are lists of records.
using Lists = std::map<std::string_view, const RecordList*>;

/// Writes the compact text of the document, all members in the order of their keys.
void writeDocument(io::ByteWriter& out, const json& document, const Lists& lists) {
    std::map<std::string_view, std::string> members;
    for (const auto& [key, value] : document.items())
        members[key] = value.dump(-1, ' ', false, json::error_handler_t::replace);
    for (const auto& [key, list] : lists)
        if (list->size() > 0) members[key] = "";
    char separator = '{';
    for (const auto& [key, value] : members) {
        out.text(fmt::format(R"({}"{}":{})", separator, key, value));
        if (const auto list = lists.find(key); list != lists.end()) {
            out.text(list->second->openText());
            out.text("]");
        }
        separator = ',';
    }
    out.text("}");
}

/// All but the blocks of the binary buffer, for which zeros stand at the end.
io::Bytes writeContainer(const json& document, const Lists& lists, std::size_t binarySize) {
    constexpr std::size_t kUsualRest = 16384;  // of the document, beside the lists
    std::size_t size = kContainerSize + kUsualRest;
    for (const auto& [key, list] : lists) size += list->openText().size();
    io::ByteWriter out;
    out.reserve(size);
    out.u32(kMagic);
    out.u32(kVersion);
    out.u32(0);  // the two lengths that are known in the end
    out.u32(0);
    out.u32(kJsonChunk);
    const std::size_t start = out.position();
    writeDocument(out, document, lists);
    while ((out.position() - start) % kAlignment != 0) out.u8(' ');
    out.patchU32(kJsonLengthAt, static_cast<std::uint32_t>(out.position() - start));
    out.u32(static_cast<std::uint32_t>(binarySize));
    out.u32(kBinChunk);
    out.zeros(binarySize);
    out.patchU32(kLengthAt, static_cast<std::uint32_t>(out.position()));
    return out.take();
}

}  // namespace

io::Bytes model3doToGlb(const io::Model3doObject& model, const TextureSet& textures,
                        const io::Palette& palette, const TeamColor& team) {
    LogLine(LogLevel::info) << "[glb] model3doToGlb start: root='" << model.name
                            << "' textures=" << textures.size() << " palette=" << palette.size();
    const std::vector<PieceRef> pieces = flattenPieces(model);
    LogLine(LogLevel::info) << "[glb] flattened pieces=" << pieces.size();

    const ModelMesh mesh = buildMesh(model);
    const Materials materials(mesh, textures);
    const std::array<ColorRgb, 256> colors = unitColors(palette, team);
    BlockLayout layout;
    GeometryWriter geometry(mesh, materials, colors, layout);
    json nodes = encodeNodes(pieces);
    for (std::size_t i = 0; i < pieces.size(); ++i)
        if (const auto index = geometry.addPiece(mesh.pieces[i])) nodes[i]["mesh"] = *index;
    LogLine(LogLevel::info) << "[glb] emitPieceGeometryDFS done; pieceMeshes="
                            << geometry.meshes().size() << " bin=" << layout.size();

    json document = documentFrame(model, pieces.size());
    document["nodes"] = std::move(nodes);
    document["materials"] = materials.encode();
    addPictures(document, textures, layout);
    if (layout.size() > 0) document["buffers"] = json::array({{{"byteLength", layout.size()}}});

    io::Bytes glb = writeContainer(document,
                                   {{"meshes", &geometry.meshes()},
                                    {"accessors", &geometry.accessors()},
                                    {"bufferViews", &layout.views()}},
                                   layout.size());
    writePictures(geometry.writeBlocks(glb.data() + (glb.size() - layout.size())), textures);
    LogLine(LogLevel::info) << "[glb] model3doToGlb done: totalSize=" << glb.size()
                            << " jsonSize=" << glb.size() - layout.size() - kContainerSize
                            << " binSize=" << layout.size();
    return glb;
}

ExportedModel exportModel(const io::Model3doObject& model, const TextureLibrary& library,
                          const io::Palette& palette, const TeamColor& team) {
    const TextureSet textures = library.encode(textureNames(model), unitPalette(palette, team));
    return {model3doToGlb(model, textures, palette, team), flattenPieces(model).size(),
            textures.size()};
}

}  // namespace orb::unitview
