#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

/// Names with a value that scripts use. Each is spelt exactly so; `heading` is no HEADING.
namespace orb::unitview::bos {

struct NamedConstant {
    std::string_view name;
    std::int32_t value;
};

/// The value of a name that a source uses without including a header: explosion flags and unit
/// values, those of the interpreter's table before those that only headers know.
std::optional<std::int32_t> constantNamed(std::string_view name);

/// What the two headers that every script includes define, for sources that come without them.
/// From id 21 up they number unit values differently than the interpreter's table.
std::span<const NamedConstant> headerConstants();

/// True for "sfxtype.h" and "exptype.h".
bool isStandardHeader(std::string_view name);

/// The name of a single explosion flag, empty for any other value.
std::string_view explosionFlagName(std::int32_t value);

/// The name of a unit value whose number all headers agree on, else empty.
std::string_view agreedUnitValueName(std::int32_t id);

}  // namespace orb::unitview::bos
