#include "bos/scale.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace orb::unitview::bos {
namespace {

/// Large enough for every scale with up to 20 binary places and for 65536/360. Numerators then stay
/// below 2^44, which leaves room for all products below in 64 bits.
constexpr std::uint64_t kMaxDenominator = 1U << 20;

}  // namespace

Scale::Scale(double unitsPerOne) : value_(unitsPerOne) {
    if (!(unitsPerOne >= kMin && unitsPerOne <= kMax))
        throw std::invalid_argument("scale must lie in 1 to 16777216");
    // Continued fractions, up to the first one that is this very double.
    std::uint64_t previousNumerator = 0;
    std::uint64_t previousDenominator = 1;
    numerator_ = 1;
    denominator_ = 0;
    for (double rest = unitsPerOne;;) {
        const double whole = std::floor(rest);
        const double grown = whole * static_cast<double>(denominator_);
        if (grown + static_cast<double>(previousDenominator) > kMaxDenominator) break;
        const auto step = static_cast<std::uint64_t>(whole);
        previousNumerator += step * numerator_;
        previousDenominator += step * denominator_;
        std::swap(previousNumerator, numerator_);
        std::swap(previousDenominator, denominator_);
        const double here = static_cast<double>(numerator_) / static_cast<double>(denominator_);
        if (here == unitsPerOne || rest == whole) break;
        rest = 1 / (rest - whole);
    }
}

std::optional<std::uint32_t> Scale::units(std::string_view decimal) const {
    const std::size_t point = std::min(decimal.find('.'), decimal.size());
    // digits * numerator as decimal digits, the last one first
    std::vector<std::uint8_t> product;
    product.reserve(decimal.size() + 16);
    std::uint64_t carry = 0;
    for (std::size_t i = decimal.size(); i-- > 0;) {
        if (decimal[i] == '.') continue;
        carry += static_cast<std::uint64_t>(decimal[i] - '0') * numerator_;
        product.push_back(static_cast<std::uint8_t>(carry % 10));
        carry /= 10;
    }
    for (; carry > 0; carry /= 10) product.push_back(static_cast<std::uint8_t>(carry % 10));

    const std::size_t places = point < decimal.size() ? decimal.size() - point - 1 : 0;
    std::uint64_t whole = 0;
    for (std::size_t i = product.size(); i-- > places;) {
        whole = whole * 10 + product[i];
        if (whole / denominator_ > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    }
    return static_cast<std::uint32_t>(whole / denominator_);
}

std::string Scale::shortestDecimal(std::uint32_t units) const {
    // Every x with low <= x * numerator < high will do. One more place multiplies both by ten;
    // taking out whole numerators keeps them small.
    std::uint64_t low = units * denominator_;
    std::uint64_t high = low + denominator_;
    const auto takeWhole = [&] {
        const std::uint64_t whole = low / numerator_;
        low -= whole * numerator_;
        high -= whole * numerator_;
        return whole;
    };
    std::uint64_t whole = takeWhole();
    if (low == 0) return fmt::format("{}", whole);
    if (high > numerator_) return fmt::format("{}", whole + 1);
    std::uint64_t fraction = 0;
    for (int places = 1;; ++places) {
        low *= 10;
        high *= 10;
        fraction = fraction * 10 + takeWhole();
        if (low == 0) return fmt::format("{}.{:0{}}", whole, fraction, places);
        if (high > numerator_) return fmt::format("{}.{:0{}}", whole, fraction + 1, places);
    }
}

}  // namespace orb::unitview::bos
