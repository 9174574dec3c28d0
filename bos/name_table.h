#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "io/ascii.h"

namespace orb::unitview::bos {

template <typename Value>
using IgnoringCaseMap =
    std::unordered_map<std::string_view, Value, io::IgnoringCaseHash, io::IgnoringCaseEqual>;

/// Declared names with their indices, found in any case. Borrows the texts.
class NameTable {
public:
    struct Entry {
        std::uint32_t index;
        std::string_view spelling;
    };

    /// False when the name is there already; then the first declaration stays.
    bool add(std::string_view name, std::size_t index) {
        return entries_.try_emplace(name, Entry{static_cast<std::uint32_t>(index), name}).second;
    }
    const Entry* find(std::string_view name) const {
        const auto found = entries_.find(name);
        return found == entries_.end() ? nullptr : &found->second;
    }
    bool contains(std::string_view name) const { return find(name) != nullptr; }
    void clear() { entries_.clear(); }

private:
    IgnoringCaseMap<Entry> entries_;
};

}  // namespace orb::unitview::bos
