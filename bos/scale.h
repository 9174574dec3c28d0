#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orb::unitview::bos {

/// How many units of the bytecode one unit of a bracketed literal is worth. Held as a fraction, so
/// that literals become units, and units the shortest literal, without any rounding error.
class Scale {
public:
    static constexpr double kMin = 1;
    static constexpr double kMax = 16777216;

    /// Throws std::invalid_argument "scale must lie in 1 to 16777216".
    explicit Scale(double unitsPerOne);

    double value() const { return value_; }

    /// The units of an unsigned decimal such as "12.5" or "12.", fractions of a unit dropped; none
    /// when they exceed 32 bits.
    std::optional<std::uint32_t> units(std::string_view decimal) const;

    /// The shortest decimal that `units` turns into these units.
    std::string shortestDecimal(std::uint32_t units) const;

    bool operator==(const Scale& other) const { return value_ == other.value_; }

private:
    double value_;
    std::uint64_t numerator_ = 1;
    std::uint64_t denominator_ = 1;
};

}  // namespace orb::unitview::bos
