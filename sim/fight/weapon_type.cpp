#include "sim/fight/weapon_type.h"

#include <algorithm>

#include "io/ascii.h"

namespace orb::sim {
namespace {

/// `whole · part / parts`, rounded to the nearest: of an amount from 0 that is no larger than
/// `kMaxDamage`, and of at most 2^46 parts. It is divided in pieces of 16 bits, as on paper, so
/// that nothing passes 64.
Amount shareOf(Amount whole, std::int64_t part, std::int64_t parts) {
    constexpr int kPieceBits = 16, kAmountBits = 48;
    constexpr std::uint64_t kPieceMask = (1U << kPieceBits) - 1;
    const auto amount = static_cast<std::uint64_t>(whole.raw());
    const auto divisor = static_cast<std::uint64_t>(parts);
    std::uint64_t share = 0, rest = 0;
    for (int shift = kAmountBits - kPieceBits; shift >= 0; shift -= kPieceBits) {
        rest = (rest << kPieceBits) +
               ((amount >> shift) & kPieceMask) * static_cast<std::uint64_t>(part);
        share = (share << kPieceBits) + rest / divisor;
        rest %= divisor;
    }
    return Amount::fromRaw(static_cast<std::int64_t>(share + (2 * rest >= divisor ? 1 : 0)));
}

}  // namespace

Amount WeaponType::damageTo(std::string_view unitName) const {
    const auto isBefore = [](const UnitDamage& entry, std::string_view wanted) {
        return std::lexicographical_compare(
            entry.unit.begin(), entry.unit.end(), wanted.begin(), wanted.end(),
            [](char a, char b) { return std::char_traits<char>::lt(a, io::toUpper(b)); });
    };
    const auto found = std::lower_bound(unitDamage.begin(), unitDamage.end(), unitName, isBefore);
    return found != unitDamage.end() && io::equalsIgnoringCase(found->unit, unitName)
               ? found->amount
               : damage;
}

Amount WeaponType::damageAt(Fixed distance, Amount whole) const {
    if (distance <= Fixed()) return whole;
    if (distance > damageRadius) return {};
    const std::int64_t steps = std::int64_t{damageRadius.raw()} * Fixed::kOne;
    const std::int64_t lost = std::int64_t{Fixed::kOne - edgeShare.raw()} * distance.raw();
    return shareOf(whole, steps - lost, steps);
}

}  // namespace orb::sim
