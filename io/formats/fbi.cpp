#include "io/formats/fbi.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "io/formats/tdf_scanner.h"

namespace orb::io {
namespace {

constexpr std::string_view kKeys[] = {
#define FBI_KEY(type, field, key, defaultValue) key,
#include "io/formats/fbi_keys.def"
};
constexpr std::size_t kKeyCount = std::size(kKeys);

enum class KeyType { text, integer, decimal, flag };
template <typename Field>
constexpr KeyType kTypeOf = KeyType::text;
template <>
constexpr KeyType kTypeOf<std::int32_t> = KeyType::integer;
template <>
constexpr KeyType kTypeOf<float> = KeyType::decimal;
template <>
constexpr KeyType kTypeOf<bool> = KeyType::flag;
constexpr KeyType kKeyTypes[] = {
#define FBI_KEY(type, field, key, defaultValue) kTypeOf<type>,
#include "io/formats/fbi_keys.def"
};

/// A run of keys whose names end in a number from 1.
struct NumberedKeys {
    std::string_view prefix;
    std::size_t count;
};
constexpr NumberedKeys kBuildOptionKeys{"buildoption", 30};  // of [UNITINFO]
constexpr NumberedKeys kCanBuildKeys{"unit", 64};            // of its [CANBUILD]

constexpr std::string_view kCanBuildSection = "CANBUILD";

constexpr std::size_t kLongestKey = std::ranges::max(kKeys, {}, &std::string_view::size).size();

/// Finds a key's row by a hash of its length and a few letters, which is all that it takes to tell
/// most keys apart; a catalogue looks up hundreds of thousands. With a hash map of the standard
/// library, reading a definition takes 1.36 times as long.
class KeyIndex {
public:
    static constexpr std::size_t kNone = kKeyCount;

    KeyIndex() {
        slots_.fill(kNone);
        for (std::size_t row = 0; row < kKeyCount; ++row) {
            std::size_t slot = hash(kKeys[row]);
            while (slots_[slot] != kNone) slot = (slot + 1) % kSlots;
            slots_[slot] = static_cast<std::uint8_t>(row);
        }
    }

    std::size_t find(std::string_view key) const {
        if (key.empty() || key.size() > kLongestKey) return kNone;
        std::array<char, kLongestKey> letters;
        std::ranges::transform(key, letters.begin(), toLower);
        const std::string_view lower(letters.data(), key.size());
        for (std::size_t slot = hash(lower); slots_[slot] != kNone; slot = (slot + 1) % kSlots)
            if (kKeys[slots_[slot]] == lower) return slots_[slot];
        return kNone;
    }

private:
    static constexpr std::size_t kSlots = 1024;
    static_assert(kKeyCount < 256);

    /// Of a key in lower case, as the table has them.
    static std::size_t hash(std::string_view key) {
        const auto letter = [&](std::size_t at) {
            return static_cast<std::size_t>(static_cast<unsigned char>(key[at]));
        };
        const std::size_t size = key.size();
        return (size * 131 + letter(0) * 31 + letter(size / 2) * 17 + letter(size / 3) * 7 +
                letter(size - 1) * 3) %
               kSlots;
    }

    std::array<std::uint8_t, kSlots> slots_;
};

/// The row of a key in any case, or KeyIndex::kNone.
std::size_t findKey(std::string_view key) {
    static const KeyIndex kIndex;
    return kIndex.find(key);
}

/// The number that a text consists of; none when it is more or less than one.
std::optional<double> wholeNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

/// The last value of every key that unit definitions know, as views into their source.
class FbiSink {
public:
    void openSection(std::string_view name) {
        ++depth_;
        if (depth_ == 1) inUnitInfo_ = equalsIgnoringCase(name, kUnitInfoSection);
        if (depth_ == 2) inCanBuild_ = equalsIgnoringCase(name, kCanBuildSection);
        isUnit_ |= depth_ == 1 && inUnitInfo_;
    }

    void closeSection() { --depth_; }

    void value(std::string_view key, std::string_view text) {
        if (!inUnitInfo_) return;
        if (depth_ == 1)
            unitInfoValue(key, text);
        else if (depth_ == 2 && inCanBuild_)
            numberedValue(kCanBuildKeys, key, text, canBuild_);
    }

    std::optional<FbiUnitInfo> result() const {
        if (!isUnit_) return std::nullopt;
        FbiUnitInfo info;
        fill(info);
        for (const auto& name : buildOptions_)
            if (!name.empty()) info.buildOptions.emplace_back(name);
        for (const auto& name : canBuild_)
            if (!name.empty()) info.buildOptions.emplace_back(name);
        return info;
    }

private:
    using Value = std::optional<std::string_view>;

    void unitInfoValue(std::string_view key, std::string_view text) {
        if (const std::size_t row = findKey(key); row != KeyIndex::kNone)
            values_[row] = text;
        else
            numberedValue(kBuildOptionKeys, key, text, buildOptions_);
    }

    template <std::size_t N>
    static void numberedValue(const NumberedKeys& keys, std::string_view key, std::string_view text,
                              std::array<std::string_view, N>& names) {
        static_assert(N == kBuildOptionKeys.count || N == kCanBuildKeys.count);
        const std::size_t prefix = keys.prefix.size();
        if (key.size() <= prefix || key[prefix] == '0' ||
            !equalsIgnoringCase(key.substr(0, prefix), keys.prefix))
            return;
        std::size_t number = 0;
        const char* const end = key.data() + key.size();
        if (std::from_chars(key.data() + prefix, end, number).ptr == end && number >= 1 &&
            number <= N)
            names[number - 1] = text;
    }

    static void assign(const Value& value, std::string& field, std::string_view defaultValue) {
        field = value.value_or(defaultValue);
    }
    static void assign(const Value& value, std::int32_t& field, std::int32_t defaultValue) {
        field = (value ? tdfInt(*value) : std::nullopt).value_or(defaultValue);
    }
    static void assign(const Value& value, float& field, float defaultValue) {
        field = (value ? tdfFloat(*value) : std::nullopt).value_or(defaultValue);
    }
    static void assign(const Value& value, bool& field, bool defaultValue) {
        field = (value ? tdfInt(*value) : std::nullopt).value_or(defaultValue ? 1 : 0) != 0;
    }

    /// Row by row, so that a default may name the field of an earlier row.
    void fill(FbiUnitInfo& info) const {
        const Value* value = values_.data();
        auto& [
#define FBI_KEY(type, field, key, defaultValue) field,
#include "io/formats/fbi_keys.def"
            buildOptions] = info;
#define FBI_KEY(type, field, key, defaultValue) assign(*value++, field, defaultValue);
#include "io/formats/fbi_keys.def"
        if (damageModifier <= 0) damageModifier = 1;
    }

    std::array<Value, kKeyCount> values_{};
    std::array<std::string_view, kBuildOptionKeys.count> buildOptions_{};
    std::array<std::string_view, kCanBuildKeys.count> canBuild_{};
    int depth_ = 0;
    bool inUnitInfo_ = false;
    bool inCanBuild_ = false;
    bool isUnit_ = false;
};

void replay(const TdfSection& section, FbiSink& sink) {
    for (const auto& [key, value] : section.values) sink.value(key, value);
}

}  // namespace

std::optional<FbiUnitInfo> parseFbiUnitInfo(const TdfSection& root) {
    const TdfSection* const unitInfo = root.child(kUnitInfoSection);
    if (unitInfo == nullptr) return std::nullopt;
    FbiSink sink;
    sink.openSection(kUnitInfoSection);
    replay(*unitInfo, sink);
    if (const TdfSection* const canBuild = unitInfo->child(kCanBuildSection)) {
        sink.openSection(kCanBuildSection);
        replay(*canBuild, sink);
    }
    return sink.result();
}

bool fbiValueReadsAs(std::string_view key, std::string_view value, std::string_view wanted) {
    if (value == wanted) return true;
    const std::size_t row = findKey(key);
    const auto number = wholeNumber(wanted);
    if (row == KeyIndex::kNone || !number) return false;
    switch (kKeyTypes[row]) {
        case KeyType::text:
            return false;
        case KeyType::integer: {
            const auto integer = tdfInt(value);
            return integer && *integer == *number;
        }
        case KeyType::decimal: {
            const auto decimal = tdfFloat(value);
            return decimal && decimal == tdfFloat(wanted);
        }
        case KeyType::flag: {
            const auto integer = tdfInt(value);
            return integer && (*integer != 0 ? 1.0 : 0.0) == *number;
        }
    }
    return false;
}

std::optional<FbiUnitInfo> readFbiUnitInfo(std::string_view text) {
    FbiSink sink;
    TdfScanner(text, sink).run();
    return sink.result();
}

}  // namespace orb::io
