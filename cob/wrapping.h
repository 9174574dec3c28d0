#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// 32-bit arithmetic as the game's scripts see it: two's complement that wraps, never traps.
namespace orb::unitview {

constexpr std::uint32_t bits(std::int32_t value) {
    return static_cast<std::uint32_t>(value);
}
constexpr std::int32_t wrapped(std::uint32_t value) {
    return static_cast<std::int32_t>(value);
}

constexpr std::int32_t wrappingAdd(std::int32_t a, std::int32_t b) {
    return wrapped(bits(a) + bits(b));
}
constexpr std::int32_t wrappingSub(std::int32_t a, std::int32_t b) {
    return wrapped(bits(a) - bits(b));
}
constexpr std::int32_t wrappingMul(std::int32_t a, std::int32_t b) {
    return wrapped(bits(a) * bits(b));
}
/// Truncates toward zero; division by zero gives 0, the smallest integer over -1 itself.
constexpr std::int32_t wrappingDiv(std::int32_t a, std::int32_t b) {
    if (b == 0) return 0;
    return b == -1 ? wrapped(0U - bits(a)) : a / b;
}
constexpr std::int32_t wrappingAbs(std::int32_t value) {
    return value < 0 ? wrapped(0U - bits(value)) : value;
}

/// Truncates toward zero; values beyond the range stop at its ends, NaN gives 0.
template <typename Integer, typename Real>
Integer truncated(Real value) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(value)) return 0;
    if (value <= static_cast<Real>(Limits::min())) return Limits::min();
    if (value >= static_cast<Real>(Limits::max())) return Limits::max();
    return static_cast<Integer>(value);
}

}  // namespace orb::unitview
