#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "io/ascii.h"

namespace orb::io {

/// White space, an optional sign and decimal digits; whatever follows is ignored, so "12.7" reads
/// 12. Numbers that do not fit are the nearest that do. None when there are no digits.
std::optional<std::int32_t> tdfInt(std::string_view value);

/// White space, an optional sign, then digits with a point and exponent if any, the same in every
/// locale; whatever follows is ignored. Never infinite: what is too large is the largest, what is
/// too small 0. Never NaN: none instead.
std::optional<float> tdfFloat(std::string_view value);

/// One bracketed section of a TDF or FBI text, or the whole text as the unnamed root. Names are
/// bytes, found in any case; no lookup allocates.
struct TdfSection {
    template <typename T>
    using NameMap = std::unordered_map<std::string, T, IgnoringCaseHash, IgnoringCaseEqual>;

    struct Entry {
        enum class Kind { value = 0, section = 1 };
        Kind kind;
        /// As written where it first appeared.
        std::string name;
    };

    /// Keys are upper-cased, values kept as written.
    NameMap<std::string> values;
    NameMap<std::unique_ptr<TdfSection>> children;
    /// Every value and section once, in the order of first appearance.
    std::vector<Entry> order;

    /// The child section of that name, or nullptr.
    const TdfSection* child(std::string_view name) const;

    /// The value as written, a view into this section; none when the key is absent.
    std::optional<std::string_view> getString(std::string_view key) const;

    /// The value as `tdfInt` and `tdfFloat` read it; none when the key is absent.
    std::optional<std::int32_t> getInt(std::string_view key) const;
    std::optional<float> getFloat(std::string_view key) const;

    /// Sets a value; one that exists keeps its place in the order.
    void setValue(std::string_view name, std::string_view value);

    /// The child section of that name, created at the end of the order when there is none.
    TdfSection& openChild(std::string_view name);
};

/// Parses a text of nested sections. Never fails: what cannot be read is skipped.
TdfSection parseTdf(std::string_view text);

}  // namespace orb::io
