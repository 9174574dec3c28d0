#include "io/formats/model3do.h"

#include <cmath>
#include <limits>
#include <unordered_set>

#include "io/formats/name_reader.h"

// Little-endian 32-bit fields; coordinates are signed 16.16 fixed point with z negated; offsets
// count from the start of the file, where the root's header stands.
//
//   object header                          primitive
//    0  version, 1                          0  palette index (low byte)
//    4  vertex count                        4  index count
//    8  primitive count                     8  0
//   12  selection primitive, < 0 = none    12  offset of u16 vertex indices
//   16  x, y, z from the parent            16  offset of the texture name, 0 = flat colour
//   28  offset of the name                 20  0xC13D0000 | editor flags in bits 0-2, or 0
//   32  0                                  24  0
//   36  offset of the vertices             28  1 = flat colour, 0 = textured
//   40  offset of the primitives
//   44  offset of the next sibling, 0 = none
//   48  offset of the first child, 0 = none
//
//   vertex: x, y, z. Names end with a NUL.

namespace orb::io {
namespace {

constexpr std::size_t kHeaderSize = 52;
constexpr std::size_t kIndexSize = 2;
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kFlagsTag = 0xC13D0000;
constexpr std::uint32_t kFlagsTagMask = 0xFFFF0000;
constexpr double kUnit = 65536;
constexpr const char* kTooSmall = "3DO data too small";

// Header fields that the writer fills in late.
constexpr std::size_t kVertexOffsetField = 36;
constexpr std::size_t kPrimitiveOffsetField = 40;
constexpr std::size_t kSiblingField = 44;
constexpr std::size_t kChildField = 48;

ModelPoint readPoint(ByteCursor& cursor) {
    const auto coordinate = [&] { return cursor.i32() / kUnit; };
    const double x = coordinate();
    const double y = coordinate();
    return {x, y, 0.0 - coordinate()};  // a plain minus would turn 0 into -0
}

class Reader {
public:
    explicit Reader(ByteView bytes)
        : file_(bytes, kTooSmall), headersLeft_(bytes.size() / kHeaderSize) {}

    Model3doObject readRoot() {
        enter(0);
        auto [root, sibling] = readObject(0, 1);
        if (isHeader(sibling) && !visited_.contains(sibling)) root.isIncomplete = true;
        return std::move(root);
    }

private:
    struct Linked {
        Model3doObject object;
        std::uint32_t siblingOffset;
    };

    /// Takes note of a header; false when it was read before. Headers of a sound file do not
    /// overlap, so there are never more of them than fit side by side.
    bool enter(std::uint32_t offset) {
        if (headersLeft_ == 0 || !visited_.insert(offset).second) return false;
        --headersLeft_;
        return true;
    }

    /// False for a link that leads nowhere.
    bool isHeader(std::uint32_t offset) const { return offset != 0 && offset < file_.size(); }

    /// A cursor on an array after checking that it lies in the file and within the copying limit.
    ByteCursor arrayAt(std::uint32_t offset, std::uint32_t count, std::size_t recordSize) {
        ByteCursor cursor = file_;
        if (count == 0) return cursor;  // offsets of empty arrays may be anything
        cursor.requireArray(offset, count, recordSize);
        if (count > arrayBytesLeft_ / recordSize) throw std::runtime_error(kTooSmall);
        arrayBytesLeft_ -= count * recordSize;
        cursor.seek(offset);
        return cursor;
    }

    Linked readObject(std::uint32_t offset, int depth) {
        ByteCursor header(file_.view(offset, kHeaderSize), kTooSmall);
        header.skip(4);
        const std::uint32_t vertexCount = header.u32();
        const std::uint32_t primitiveCount = header.u32();
        const std::int32_t selection = header.i32();
        Linked result{};
        Model3doObject& object = result.object;
        object.position = readPoint(header);
        object.name = names_.read(header.u32());
        header.skip(4);
        readVertices(object, header.u32(), vertexCount);
        readPrimitives(object, header.u32(), primitiveCount);
        if (selection >= 0) object.selectionPrimitive = selection;
        result.siblingOffset = header.u32();
        readChildren(object, header.u32(), depth + 1);
        return result;
    }

    void readChildren(Model3doObject& parent, std::uint32_t offset, int depth) {
        std::vector<std::uint32_t> chain;
        while (isHeader(offset)) {
            if (depth > kMax3doNesting || !enter(offset)) {
                parent.isIncomplete = !open_.contains(offset);
                break;
            }
            open_.insert(offset);
            chain.push_back(offset);
            Linked child = readObject(offset, depth);
            parent.children.push_back(std::make_unique<Model3doObject>(std::move(child.object)));
            offset = child.siblingOffset;
        }
        for (const std::uint32_t read : chain) open_.erase(read);
    }

    void readVertices(Model3doObject& object, std::uint32_t offset, std::uint32_t count) {
        ByteCursor cursor = arrayAt(offset, count, k3doVertexSize);
        object.vertices.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) object.vertices.push_back(readPoint(cursor));
    }

    void readPrimitives(Model3doObject& object, std::uint32_t offset, std::uint32_t count) {
        ByteCursor cursor = arrayAt(offset, count, k3doPrimitiveSize);
        object.primitives.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i)
            object.primitives.push_back(readPrimitive(cursor));
    }

    Model3doPrimitive readPrimitive(ByteCursor& cursor) {
        Model3doPrimitive primitive;
        const auto color = static_cast<std::uint8_t>(cursor.u32());
        const std::uint32_t indexCount = cursor.u32();
        cursor.skip(4);
        ByteCursor indices = arrayAt(cursor.u32(), indexCount, kIndexSize);
        primitive.vertexIndices.reserve(indexCount);
        for (std::uint32_t i = 0; i < indexCount; ++i)
            primitive.vertexIndices.push_back(indices.u16());
        if (const std::uint32_t textureOffset = cursor.u32(); textureOffset != 0)
            primitive.textureName = names_.read(textureOffset);
        else
            primitive.color = color;
        const std::uint32_t flags = cursor.u32();
        if ((flags & kFlagsTagMask) == kFlagsTag)
            for (std::size_t bit = 0; bit < primitive.flags.size(); ++bit)
                primitive.flags[bit] = (flags >> bit & 1) != 0;
        cursor.skip(8);
        return primitive;
    }

    ByteCursor file_;
    NameReader names_{file_};
    std::unordered_set<std::uint32_t> visited_;
    /// Those whose chain of siblings is being read: a link back to one goes round in a circle.
    std::unordered_set<std::uint32_t> open_;
    std::size_t headersLeft_;
    std::size_t arrayBytesLeft_ = kMax3doArrayBytes;
};

std::int32_t toFixed(double value) {
    const double scaled = value * kUnit;
    if (std::isnan(scaled)) return 0;
    using Limits = std::numeric_limits<std::int32_t>;
    if (scaled >= double{Limits::max()}) return Limits::max();
    if (scaled <= double{Limits::min()}) return Limits::min();
    return static_cast<std::int32_t>(scaled);
}

class Writer {
public:
    /// Appends an object with all that hangs from it; returns its header's offset.
    std::uint32_t writeObject(const Model3doObject& object, int depth) {
        if (depth > kMax3doNesting) throw std::runtime_error("3DO nesting too deep");
        const std::uint32_t header = here();
        out_.u32(kVersion);
        out_.u32(sizeOf(object.vertices));
        out_.u32(sizeOf(object.primitives));
        out_.i32(object.selectionPrimitive.value_or(-1));
        writePoint(object.position);
        out_.u32(static_cast<std::uint32_t>(header + kHeaderSize));  // the name follows directly
        out_.zeros(header + kHeaderSize - out_.position());
        out_.cString(object.name);
        out_.patchU32(header + kVertexOffsetField, here());
        for (const ModelPoint& vertex : object.vertices) writePoint(vertex);
        writePrimitives(object.primitives, header + kPrimitiveOffsetField);
        std::size_t link = header + kChildField;
        for (const auto& child : object.children) {
            const std::uint32_t childHeader = writeObject(*child, depth + 1);
            out_.patchU32(link, childHeader);
            link = childHeader + kSiblingField;
        }
        return header;
    }

    Bytes take() { return out_.take(); }

private:
    struct Offsets {
        std::uint32_t indices;
        std::uint32_t textureName;
    };

    template <typename T>
    static std::uint32_t sizeOf(const std::vector<T>& list) {
        return static_cast<std::uint32_t>(list.size());
    }
    std::uint32_t here() const { return static_cast<std::uint32_t>(out_.position()); }

    void writePoint(const ModelPoint& point) {
        out_.i32(toFixed(point[0]));
        out_.i32(toFixed(point[1]));
        out_.i32(toFixed(-point[2]));
    }

    void writePrimitives(const std::vector<Model3doPrimitive>& primitives,
                         std::size_t offsetField) {
        std::vector<Offsets> offsets;
        offsets.reserve(primitives.size());
        for (const Model3doPrimitive& primitive : primitives)
            offsets.push_back(writePrimitiveData(primitive));
        out_.patchU32(offsetField, here());
        for (std::size_t i = 0; i < primitives.size(); ++i)
            writePrimitive(primitives[i], offsets[i]);
    }

    Offsets writePrimitiveData(const Model3doPrimitive& primitive) {
        Offsets offsets{here(), 0};
        for (const std::uint16_t index : primitive.vertexIndices) out_.u16(index);
        if (primitive.textureName) {
            offsets.textureName = here();
            out_.cString(*primitive.textureName);
        }
        return offsets;
    }

    void writePrimitive(const Model3doPrimitive& primitive, const Offsets& offsets) {
        std::uint32_t flags = 0;
        for (std::size_t bit = 0; bit < primitive.flags.size(); ++bit)
            if (primitive.flags[bit]) flags |= kFlagsTag | 1U << bit;
        out_.u32(primitive.textureName ? 0U : std::uint32_t{primitive.color.value_or(0)});
        out_.u32(sizeOf(primitive.vertexIndices));
        out_.u32(0);
        out_.u32(offsets.indices);
        out_.u32(offsets.textureName);
        out_.u32(flags);
        out_.u32(0);
        out_.u32(primitive.textureName ? 0 : 1);
    }

    ByteWriter out_;
};

}  // namespace

Model3doObject parse3do(ByteView bytes) {
    if (bytes.size() < kHeaderSize) throw std::runtime_error(kTooSmall);
    return Reader(bytes).readRoot();
}

Bytes write3do(const Model3doObject& root) {
    Writer writer;
    writer.writeObject(root, 1);
    return writer.take();
}

}  // namespace orb::io
