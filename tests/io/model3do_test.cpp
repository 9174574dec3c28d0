#include "io/formats/model3do.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "io/format_damage.h"

namespace orb::io {
namespace {

constexpr const char* kTooSmall = "3DO data too small";

std::unique_ptr<Model3doObject> piece(const std::string& name) {
    auto object = std::make_unique<Model3doObject>();
    object->name = name;
    return object;
}

Model3doObject sampleModel() {
    Model3doObject root = std::move(*piece("base"));
    root.position = {1.5F, -0.25F, -1.0F};
    root.vertices = {{0, 0, 0}, {1, 2, 3}, {-1, -2, -3}};
    root.primitives = {{{0, 1, 2}, 44, std::nullopt, {true, false, true}},
                       {{2, 1, 0, 65535}, std::nullopt, "Wall", {}}};
    root.selectionPrimitive = 1;
    root.children.push_back(piece("turret"));
    root.children.push_back(piece("leg"));
    root.children[0]->children.push_back(piece("barrel"));
    return root;
}

Bytes patched(Bytes bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> 8 * i);
    return bytes;
}

std::uint32_t wordAt(const Bytes& bytes, std::size_t offset) {
    return ByteCursor(ByteView(bytes).subspan(offset), "test").u32();
}

TEST(Model3do, WritesWhatItReads) {
    const Bytes written = write3do(sampleModel());
    const Model3doObject read = parse3do(written);
    EXPECT_EQ(write3do(read), written);
    EXPECT_EQ(read.position, (ModelPoint{1.5F, -0.25F, -1.0F}));
    EXPECT_EQ(read.vertices[1], (ModelPoint{1, 2, 3}));
    EXPECT_FALSE(std::signbit(read.vertices[0][2]));
    EXPECT_EQ(read.primitives[0].color, 44);
    EXPECT_EQ(read.primitives[0].flags, (std::array{true, false, true}));
    EXPECT_EQ(read.primitives[1].vertexIndices, (std::vector<std::uint16_t>{2, 1, 0, 65535}));
    EXPECT_EQ(read.primitives[1].color, std::nullopt);
    EXPECT_EQ(read.primitives[1].textureName, "Wall");
    EXPECT_EQ(read.selectionPrimitive, 1);
    EXPECT_EQ(read.children.at(0)->children.at(0)->name, "barrel");
    EXPECT_EQ(read.children.at(1)->selectionPrimitive, std::nullopt);
}

TEST(Model3do, PlacesFieldsWhereTheGameExpectsThem) {
    const Bytes file = write3do(sampleModel());
    const auto words = [&](std::size_t offset, std::size_t count) {
        std::vector<std::uint32_t> result;
        for (std::size_t i = 0; i < count; ++i) result.push_back(wordAt(file, offset + i * 4));
        return result;
    };
    using Words = std::vector<std::uint32_t>;
    EXPECT_EQ(words(0, 13),
              (Words{1, 3, 2, 1, 0x18000, 0xFFFFC000, 0x10000, 52, 0, 57, 112, 0, 176}));
    EXPECT_EQ(words(57 + 12, 3), (Words{0x10000, 0x20000, 0xFFFD0000}));
    EXPECT_EQ(words(112, 8), (Words{44, 3, 0, 93, 0, 0xC13D0005, 0, 1}));
    EXPECT_EQ(words(144, 8), (Words{0, 4, 0, 99, 107, 0, 0, 0}));
}

TEST(Model3do, ReadsFieldsAsStored) {
    const Bytes file = write3do(sampleModel());
    const std::size_t primitive = wordAt(file, 40);
    EXPECT_EQ(parse3do(patched(file, primitive, 0x12C)).primitives[0].color, 0x2C);
    EXPECT_EQ(parse3do(patched(file, primitive + 20, 0x12340005)).primitives[0].flags,
              (std::array{false, false, false}));
    EXPECT_EQ(parse3do(patched(file, 12, 99)).selectionPrimitive, 99);
    EXPECT_EQ(parse3do(patched(file, 28, 0xFFFFFFF0)).name, "");
    EXPECT_EQ(parse3do(patched(file, primitive + 16, 0x7FFFFFFF)).primitives[0].textureName, "");
    EXPECT_EQ(parse3do(patched(file, 0, 77)).name, "base");
}

TEST(Model3do, ClampsCoordinatesToTheFormat) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    Model3doObject model;
    model.vertices = {{kInf, -kInf, NAN}, {32768, -32768, 32768}, {0.9999 / 65536, 0, 0}};
    const auto read = parse3do(write3do(model)).vertices;
    constexpr double kLast = 0x7FFFFFFF / 65536.0;
    EXPECT_EQ(read[0], (ModelPoint{kLast, -32768, 0}));
    EXPECT_EQ(read[1], (ModelPoint{kLast, -32768, 32768}));
    EXPECT_EQ(read[2], (ModelPoint{0, 0, 0}));
}

TEST(Model3do, KeepsEveryCoordinateOfAFile) {
    Bytes file = write3do(sampleModel());
    for (const std::uint32_t coordinate :
         {0x01000001U, 0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0xFFFFFFFFU}) {
        for (const std::size_t field : {16, 20, 24, 57, 61, 65})
            file = patched(std::move(file), field, coordinate);
        EXPECT_EQ(write3do(parse3do(file)), file);
    }
}

TEST(Model3do, RefusesArraysOutsideTheFile) {
    const Bytes file = write3do(sampleModel());
    const auto size = static_cast<std::uint32_t>(file.size());
    const auto with = [&](std::size_t field, std::uint32_t value) {
        return patched(file, field, value);
    };
    constexpr std::size_t kPrimitive = 112;
    expectRefusals(parse3do, {{with(4, 0xFFFFFFFF), kTooSmall},
                              {with(36, size - 36), ""},
                              {with(36, size - 35), kTooSmall},
                              {with(40, size - 63), kTooSmall},
                              {with(8, 0x10000000), kTooSmall},
                              {with(kPrimitive + 4, 0x80000000), kTooSmall},
                              {with(kPrimitive + 12, size - 6), ""},
                              {with(kPrimitive + 12, size - 5), kTooSmall},
                              {with(48, size), ""},
                              {with(48, size - 51), kTooSmall},
                              {patched(Bytes(52), 36, 0xFFFFFFFF), ""},  // nothing to read there
                              {Bytes(51), kTooSmall}});
    expectSurvivesDamage(file, parse3do);
}

TEST(Model3do, VisitsEachHeaderOnce) {
    const Bytes file = write3do(sampleModel());
    const std::uint32_t turret = wordAt(file, 48);
    const std::uint32_t leg = wordAt(file, turret + 44);
    const std::uint32_t barrel = wordAt(file, turret + 48);
    EXPECT_FALSE(parse3do(file).isIncomplete);
    // round in a circle: nothing is missing
    EXPECT_EQ(parse3do(patched(file, leg + 44, turret)).children.size(), 2U);
    EXPECT_FALSE(parse3do(patched(file, leg + 44, turret)).isIncomplete);
    const Model3doObject circle = parse3do(patched(file, leg + 48, turret));
    EXPECT_EQ(circle.children[1]->children.size(), 0U);
    EXPECT_FALSE(circle.children[1]->isIncomplete);
    // in two places, and beside the root
    const Model3doObject shared = parse3do(patched(file, leg + 48, barrel));
    EXPECT_EQ(shared.children[1]->children.size(), 0U);
    EXPECT_TRUE(shared.children[1]->isIncomplete);
    EXPECT_FALSE(shared.isIncomplete);
    EXPECT_FALSE(parse3do(patched(file, 44, leg)).isIncomplete);
    Bytes beside = patched(file, 44, static_cast<std::uint32_t>(file.size()));
    beside.resize(beside.size() + 52);
    EXPECT_TRUE(parse3do(beside).isIncomplete);
}

TEST(Model3do, BoundsNestingAndSharedArrays) {
    const auto chain = [](int depth) {
        auto root = piece("p");
        for (int i = 1; i < depth; ++i) {
            auto parent = piece("p");
            parent->children.push_back(std::move(root));
            root = std::move(parent);
        }
        return root;
    };
    Bytes file = write3do(*chain(kMax3doNesting));
    EXPECT_THROW(write3do(*chain(kMax3doNesting + 1)), std::runtime_error);
    const std::size_t innermost = file.size() - 54;
    file = patched(file, innermost + 48, static_cast<std::uint32_t>(file.size()));
    file.resize(file.size() + 52);
    const Model3doObject root = parse3do(file);
    int depth = 1;
    const Model3doObject* deepest = &root;
    for (; !deepest->children.empty(); deepest = deepest->children[0].get()) ++depth;
    EXPECT_EQ(depth, kMax3doNesting);
    EXPECT_TRUE(deepest->isIncomplete);
    EXPECT_FALSE(root.isIncomplete);

    // every face uses one array of 1 MiB: as many as the limit holds, then one more
    for (const std::uint32_t faces : {63U, 64U}) {
        Bytes shared(52 + faces * 32 + (1 << 20));
        shared = patched(patched(std::move(shared), 8, faces), 40, 52);
        for (std::uint32_t i = 0; i < faces; ++i) {
            shared = patched(std::move(shared), 52 + i * 32 + 4, 1 << 19);
            shared = patched(std::move(shared), 52 + i * 32 + 12, 52 + faces * 32);
        }
        EXPECT_EQ(refusal(shared, parse3do), faces == 63 ? "" : kTooSmall);
    }
}

}  // namespace
}  // namespace orb::io
