#include "fuzzing.h"
#include "io/formats/fbi.h"
#include "io/formats/tdf.h"

// The text format: its tree agrees with itself, and both readers of unit definitions agree with
// each other.

namespace orb::fuzz {
namespace {

/// Every entry of the order is there, and nothing else is.
void checkTree(const io::TdfSection& section) {
    std::size_t values = 0;
    for (const auto& [kind, name] : section.order) {
        if (kind == io::TdfSection::Entry::Kind::value) {
            ++values;
            require(section.getString(name).has_value(), "a value in the order is found");
        } else {
            const io::TdfSection* const child = section.child(name);
            require(child != nullptr, "a section in the order is found");
            checkTree(*child);
        }
    }
    require(
        values == section.values.size() && section.order.size() == values + section.children.size(),
        "the order holds everything once");
}

}  // namespace

void run(io::ByteView input) {
    const std::string_view text = io::asText(input);
    const io::TdfSection root = io::parseTdf(text);
    checkTree(root);

    const auto fromTree = io::parseFbiUnitInfo(root);
    const auto fromText = io::readFbiUnitInfo(text);
    require(fromTree.has_value() == fromText.has_value(),
            "both readers find [UNITINFO] or neither");
    if (!fromTree) return;
#define FBI_KEY(type, field, key, defaultValue) \
    require(fromTree->field == fromText->field, "both readers give " key " the same value");
#include "io/formats/fbi_keys.def"
    require(fromTree->buildOptions == fromText->buildOptions, "both give the same build options");
}

}  // namespace orb::fuzz
