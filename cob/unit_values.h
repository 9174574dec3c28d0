#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// The values of a unit that scripts get and set by number.
namespace orb::unitview {

/// An id of `get` and `set` with a name.
struct UnitValueName {
    std::int32_t id;
    std::string_view name;
};

/// The named ids, by rising id.
std::span<const UnitValueName> unitValueNames();

/// The name of an id, "VALUE_n" for one without a name.
std::string unitValueName(std::int32_t id);

/// Ids that `get` with arguments computes from these alone. 32 is the veteran level without them.
enum ComputedValue : std::int32_t {
    kXzAtan = 12,
    kXzHypot = 13,
    kAtan = 14,
    kHypot = 15,
    kSin = 30,
    kCos = 31,
    kTan = 32,
    kSqrt = 34,
};

}  // namespace orb::unitview
