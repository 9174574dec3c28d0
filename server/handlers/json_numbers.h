#pragma once

#include <charconv>
#include <cmath>
#include <iterator>

namespace orb::unitview::ipc {

/// The double whose shortest decimal form is that of the float, so that 1.1f goes out as 1.1 and
/// not as 1.100000023841858.
inline double shortestDouble(float value) {
    constexpr float kWholeBelow = 0x1p24F;  // floats hold these whole numbers one by one
    double result = static_cast<double>(value);
    if (std::abs(value) < kWholeBelow && value == std::trunc(value)) return result;
    char digits[32];
    const char* const end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    std::from_chars(digits, end, result);
    return result;
}

}  // namespace orb::unitview::ipc
