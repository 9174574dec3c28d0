#pragma once

#include <string_view>

namespace orb::io {

/// Both slashes separate the components of a virtual path.
inline constexpr std::string_view kPathSeparators = "/\\";

/// Takes the first component off `rest`; empty components are skipped, and an empty result means
/// that none is left.
constexpr std::string_view takePathComponent(std::string_view& rest) {
    const auto begin = rest.find_first_not_of(kPathSeparators);
    if (begin == std::string_view::npos) return rest = {};
    rest.remove_prefix(begin);
    const std::string_view component = rest.substr(0, rest.find_first_of(kPathSeparators));
    rest.remove_prefix(component.size());
    return component;
}

/// True when `name` can stand as one component of a path and stays inside the directory that holds
/// it. Everything else names nothing.
constexpr bool isPlainComponent(std::string_view name) {
    constexpr std::string_view separatorsAndNul("/\\\0", 3);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(separatorsAndNul) == std::string_view::npos;
}

}  // namespace orb::io
