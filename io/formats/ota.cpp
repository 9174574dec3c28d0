#include "io/formats/ota.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "io/ascii.h"
#include "io/formats/tdf_scanner.h"

// [GlobalHeader] { values
//   [Schema 0] { values
//     [specials] { [special0] { specialwhat=StartPos1; XPos; ZPos; } ... }      map pixels
//     [units]    { [unit0] { Unitname; XPos; ZPos; Player; Angle; HealthPercentage; } ... }
//     [features] { [feature0] { Featurename; XPos; ZPos; } ... }                cells of 16 pixels
//   }
// }

namespace orb::io {
namespace {

constexpr std::string_view kHeaderName = "GlobalHeader";
constexpr std::string_view kSchemaPrefix = "Schema";
constexpr std::string_view kStartPrefix = "StartPos";

/// The number behind a prefix in any case, white space between; none when it is another name.
std::optional<std::uint32_t> numberAfter(std::string_view prefix, std::string_view name) {
    if (!equalsIgnoringCase(name.substr(0, prefix.size()), prefix)) return std::nullopt;
    const auto number = tdfInt(name.substr(prefix.size()));
    if (!number || *number < 0) return std::nullopt;
    return static_cast<std::uint32_t>(*number);
}

template <typename Item>
void keep(OtaList<Item>& list, std::size_t most, Item item) {
    ++list.given;
    if (list.kept.size() < most) list.kept.push_back(std::move(item));
}

std::int32_t intOf(const TdfSection& section, std::string_view key, std::int32_t absent = 0) {
    return section.getInt(key).value_or(absent);
}

void addSpecial(OtaSchema& schema, const TdfSection& item) {
    const auto player = numberAfter(kStartPrefix, item.getString("specialwhat").value_or(""));
    if (!player) return;
    keep(schema.startPositions, kMaxOtaStartPositions,
         {static_cast<std::int32_t>(*player), intOf(item, "XPos"), intOf(item, "ZPos")});
}

void addUnit(OtaSchema& schema, const TdfSection& item) {
    keep(schema.units, kMaxOtaUnits,
         {std::string(item.getString("Unitname").value_or("")), intOf(item, "XPos"),
          intOf(item, "ZPos"), intOf(item, "Player", 1), item.getFloat("Angle").value_or(0.0F),
          item.getFloat("HealthPercentage").value_or(100.0F)});
}

void addFeature(OtaSchema& schema, const TdfSection& item) {
    keep(schema.features, kMaxOtaFeatures,
         {std::string(item.getString("Featurename").value_or("")), intOf(item, "XPos"),
          intOf(item, "ZPos")});
}

struct List {
    std::string_view name;
    void (*add)(OtaSchema& schema, const TdfSection& item);
};

constexpr List kLists[] = {{"specials", addSpecial}, {"units", addUnit}, {"features", addFeature}};

/// Follows the scan down to the lists' items; an item is taken over when its section ends.
class OtaSink {
public:
    explicit OtaSink(OtaFile& file) : file_(file) {}

    void openSection(std::string_view name) {
        ++depth_;
        if (depth_ != known_ + 1) return;  // below a section that means nothing here
        if (enters(name)) known_ = depth_;
    }

    void closeSection() {
        if (known_ == depth_) {
            if (depth_ == kItem) list_->add(*schema_, item_);
            --known_;
        }
        --depth_;
    }

    void value(std::string_view key, std::string_view text) {
        if (known_ != depth_) return;
        if (depth_ == kHeader) file_.header.setValue(key, text);
        if (depth_ == kSchema) schema_->values.setValue(key, text);
        if (depth_ == kItem) item_.setValue(key, text);
    }

    /// Takes over the item that the end of the text cut off.
    void finish() {
        if (known_ == kItem) list_->add(*schema_, item_);
    }

private:
    enum Depth : std::size_t { kHeader = 1, kSchema = 2, kList = 3, kItem = 4 };

    /// True when the section just opened has a meaning at its depth.
    bool enters(std::string_view name) {
        switch (depth_) {
            case kHeader:
                return equalsIgnoringCase(name, kHeaderName);
            case kSchema:
                return entersSchema(name);
            case kList:
                list_ = std::ranges::find_if(
                    kLists, [&](const List& list) { return equalsIgnoringCase(list.name, name); });
                return list_ != std::end(kLists);
            case kItem:
                item_ = TdfSection();
                return true;
            default:
                return false;
        }
    }

    bool entersSchema(std::string_view name) {
        if (!equalsIgnoringCase(name.substr(0, kSchemaPrefix.size()), kSchemaPrefix)) return false;
        const auto number = numberAfter(kSchemaPrefix, name);
        if (!number || *number >= kMaxOtaSchemas) {
            ++file_.schemasLeftOut;
            return false;
        }
        schema_ = &file_.schemas[*number];
        return true;
    }

    OtaFile& file_;
    /// Sections open, and how many of the outer ones have a meaning.
    std::size_t depth_ = 0;
    std::size_t known_ = 0;
    OtaSchema* schema_ = nullptr;
    const List* list_ = nullptr;
    TdfSection item_;
};

}  // namespace

OtaFile parseOta(std::string_view text) {
    OtaFile file;
    OtaSink sink(file);
    TdfScanner(text, sink).run();
    sink.finish();
    return file;
}

}  // namespace orb::io
