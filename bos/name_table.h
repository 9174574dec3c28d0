#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "io/ascii.h"

namespace orb::unitview::bos {

struct IgnoringCaseHash {
    std::size_t operator()(std::string_view text) const {
        std::size_t hash = 14695981039346656037ULL;  // FNV-1a
        for (const char c : text)
            hash = (hash ^ static_cast<unsigned char>(io::toLower(c))) * 1099511628211ULL;
        return hash;
    }
};
struct IgnoringCaseEqual {
    bool operator()(std::string_view a, std::string_view b) const {
        return io::equalsIgnoringCase(a, b);
    }
};
template <typename Value>
using IgnoringCaseMap =
    std::unordered_map<std::string_view, Value, IgnoringCaseHash, IgnoringCaseEqual>;

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
