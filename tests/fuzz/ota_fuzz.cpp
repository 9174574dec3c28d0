#include "fuzzing.h"
#include "io/formats/ota.h"

// The description of a map: its lists agree with their counts and limits.

namespace orb::fuzz {
namespace {

template <typename Item>
void checkList(const io::OtaList<Item>& list, std::size_t most) {
    require(list.kept.size() == std::min(list.given, most), "a list keeps what fits");
}

}  // namespace

void run(io::ByteView input) {
    const io::OtaFile ota = io::parseOta(io::asText(input));
    require(ota.schemas.empty() || ota.schemas.rbegin()->first < io::kMaxOtaSchemas,
            "schemas have small numbers");
    for (const auto& [number, schema] : ota.schemas) {
        checkList(schema.startPositions, io::kMaxOtaStartPositions);
        checkList(schema.units, io::kMaxOtaUnits);
        checkList(schema.features, io::kMaxOtaFeatures);
        for (const io::OtaUnit& unit : schema.units.kept)
            require(unit.name.size() <= input.size(), "names come from the text");
    }
}

}  // namespace orb::fuzz
