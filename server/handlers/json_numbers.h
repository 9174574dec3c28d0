#pragma once

#include <fmt/format.h>

#include <charconv>

namespace orb::unitview::ipc {

/// The double whose shortest decimal form is that of the float, so that 1.1f goes out as 1.1 and
/// not as 1.100000023841858.
inline double shortestDouble(float value) {
    const std::string digits = fmt::format("{}", value);
    double result = static_cast<double>(value);
    std::from_chars(digits.data(), digits.data() + digits.size(), result);
    return result;
}

}  // namespace orb::unitview::ipc
