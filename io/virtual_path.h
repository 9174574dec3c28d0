#pragma once

#include <concepts>
#include <span>
#include <string_view>
#include <vector>

namespace orb::io {

/// True when `name` can stand as one component of a path and stays inside the directory that holds
/// it. Everything else names nothing.
constexpr bool isPlainComponent(std::string_view name) {
    constexpr std::string_view separatorsAndNul("/\\\0", 3);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(separatorsAndNul) == std::string_view::npos;
}

/// A relative path in game data, taken apart once, however many layers are then asked for it. Both
/// "/" and "\" separate components and empty ones do not count: "\units//a.fbi" is "units/a.fbi".
/// Made of any text where a path is asked for; borrows that text, so it is for parameters.
class VirtualPath {
public:
    template <std::convertible_to<std::string_view> Text>
    VirtualPath(const Text& text) : VirtualPath(std::string_view(text), Parse{}) {}

    /// As it was given.
    std::string_view text() const { return text_; }
    /// None for the top directory.
    std::span<const std::string_view> components() const { return components_; }
    /// False when a component is "." or ".." or holds a NUL: then the path names nothing.
    bool isPlain() const { return isPlain_; }

private:
    struct Parse {};
    VirtualPath(std::string_view text, Parse);

    std::string_view text_;
    std::vector<std::string_view> components_;
    bool isPlain_ = true;
};

}  // namespace orb::io
