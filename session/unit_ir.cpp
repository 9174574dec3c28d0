#include "session/unit_ir.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/formats/fbi.h"
#include "io/json_nesting.h"

namespace orb::pipeline {
namespace {

using nlohmann::json;

constexpr const char* kSchemaVersion = "1.0.0";
constexpr const char* kAssetType = "ta_unit_ir";

/// A value of the document with the way to it, so that an error can name the member.
class Node {
public:
    Node(const json& value, const Node* parent, std::string_view key, std::size_t index = 0)
        : value_(value), parent_(parent), key_(key), index_(index) {}

    std::optional<Node> find(std::string_view key) const {
        if (!value_.is_object()) fail("must be an object");
        const auto found = value_.find(key);
        if (found == value_.end()) return std::nullopt;
        return Node(*found, this, key);
    }

    Node at(std::string_view key) const {
        if (auto member = find(key)) return *member;
        throw std::runtime_error(fmt::format("{} is missing", pathOf(key)));
    }

    std::size_t size() const {
        if (!value_.is_array()) fail("must be an array");
        return value_.size();
    }

    Node operator[](std::size_t index) const { return {value_[index], this, {}, index}; }

    const std::string& text() const {
        if (!value_.is_string()) fail("must be a string");
        return value_.get_ref<const std::string&>();
    }

    template <typename Integer>
    Integer integer() const {
        constexpr auto kMin = std::numeric_limits<Integer>::min();
        constexpr auto kMax = std::numeric_limits<Integer>::max();
        const bool fits = value_.is_number_integer() &&
                          (value_.is_number_unsigned()
                               ? value_.get<std::uint64_t>() <= static_cast<std::uint64_t>(kMax)
                               : value_.get<std::int64_t>() >= std::int64_t{kMin} &&
                                     value_.get<std::int64_t>() <= std::int64_t{kMax});
        if (!fits) fail(fmt::format("must be an integer from {} to {}", kMin, kMax));
        return value_.get<Integer>();
    }

    io::ModelPoint point() const {
        if (!value_.is_array() || value_.size() != 3) fail("must be an array of 3 numbers");
        io::ModelPoint result{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (!value_[axis].is_number()) fail("must be an array of 3 numbers");
            const auto coordinate = value_[axis].get<float>();
            if (!std::isfinite(coordinate)) fail("is out of range");
            result[axis] = double{coordinate};
        }
        return result;
    }

    bool flag() const {
        if (!value_.is_boolean()) fail("must be true or false");
        return value_.get<bool>();
    }

    const json::object_t& members() const {
        if (!value_.is_object()) fail("must be an object");
        return value_.get_ref<const json::object_t&>();
    }

    [[noreturn]] void fail(std::string_view problem) const {
        throw std::runtime_error(fmt::format("{} {}", path(), problem));
    }

private:
    std::string path() const {
        if (!parent_) return "document";
        return key_.empty() ? fmt::format("{}[{}]", parent_->path(), index_)
                            : parent_->pathOf(key_);
    }
    std::string pathOf(std::string_view key) const {
        return parent_ ? fmt::format("{}.{}", path(), key) : std::string(key);
    }

    const json& value_;
    const Node* parent_;
    std::string_view key_;
    std::size_t index_;
};

template <typename Element>
auto readArray(const Node& array, Element&& readElement) {
    std::vector<decltype(readElement(array))> result;
    result.reserve(array.size());
    for (std::size_t i = 0; i < array.size(); ++i) result.push_back(readElement(array[i]));
    return result;
}

io::TdfSection readDefinition(const Node& fbi) {
    io::TdfSection root;
    io::TdfSection& unitInfo = root.openChild(io::kUnitInfoSection);
    for (const auto& [key, value] : fbi.members())
        unitInfo.setValue(key, Node(value, &fbi, key).text());
    return root;
}

io::Model3doPrimitive readPrimitive(const Node& node) {
    io::Model3doPrimitive primitive;
    primitive.vertexIndices =
        readArray(node.at("indices"), [](const Node& n) { return n.integer<std::uint16_t>(); });
    if (const auto texture = node.find("texture")) primitive.textureName = texture->text();
    if (const auto color = node.find("color")) primitive.color = color->integer<std::uint8_t>();
    if (const auto flags = node.find("flags")) {
        if (flags->size() != primitive.flags.size()) flags->fail("must be an array of 3 flags");
        for (std::size_t i = 0; i < primitive.flags.size(); ++i)
            primitive.flags[i] = (*flags)[i].flag();
    }
    return primitive;
}

// Recursion is bounded by the nesting limit of the document.
io::Model3doObject readPiece(const Node& node) {
    io::Model3doObject piece;
    piece.name = node.at("name").text();
    piece.position = node.at("position").point();
    piece.vertices = readArray(node.at("vertices"), [](const Node& n) { return n.point(); });
    piece.primitives = readArray(node.at("primitives"), readPrimitive);
    if (const auto selection = node.find("selectionPrimitive"))
        piece.selectionPrimitive = selection->integer<std::int32_t>();
    if (const auto children = node.find("children"))
        piece.children = readArray(*children, [](const Node& n) {
            return std::make_unique<io::Model3doObject>(readPiece(n));
        });
    return piece;
}

io::CobFile readScript(const Node& node) {
    io::CobFile cob;
    cob.version = node.at("version").integer<std::uint32_t>();
    cob.staticVarCount = node.at("staticVars").integer<std::uint32_t>();
    cob.pieces = readArray(node.at("pieces"), [](const Node& n) { return n.text(); });
    cob.scripts = readArray(node.at("scripts"), [](const Node& n) {
        return io::CobFile::Script{n.at("name").text(), n.at("entry").integer<std::uint32_t>()};
    });
    cob.code = readArray(node.at("code"), [](const Node& n) { return n.integer<std::uint32_t>(); });
    return cob;
}

void requireText(const Node& document, std::string_view key, std::string_view expected) {
    const Node node = document.at(key);
    if (node.text() != expected) node.fail(fmt::format("must be \"{}\"", expected));
}

json parseDocument(std::string_view text) {
    try {
        return json::parse(text);
    } catch (const json::exception& error) {
        throw std::runtime_error(error.what());
    }
}

}  // namespace

UnitIr parseUnitIr(io::ByteView file) {
    const std::string_view text = io::asText(file);
    if (io::findJsonNestingBeyond(text, io::kMaxJsonNesting))
        throw std::runtime_error(
            fmt::format("document nests deeper than {} levels", io::kMaxJsonNesting));
    const json value = parseDocument(text);
    const Node document(value, nullptr, {});
    requireText(document, "schemaVersion", kSchemaVersion);
    requireText(document, "assetType", kAssetType);

    UnitIr unit;
    unit.unitName = document.at("unitName").text();
    const Node fbi = document.at("fbi");
    unit.definition = readDefinition(fbi);
    const Node model = document.at("model");
    unit.model = readPiece(model);
    if (const auto script = document.find("script")) unit.script = readScript(*script);
    return unit;
}

}  // namespace orb::pipeline
