#pragma once

#include <array>
#include <cstdint>

#include "sim/fixed.h"

namespace orb::sim {

inline constexpr std::int32_t kPlayerCount = 10;

/// What a player has of one resource.
struct Stock {
    Amount amount;
    Amount storage;
    /// Of the last tick, per second.
    Amount income;
    Amount drain;
    /// The part of what was asked for that there was.
    Fixed share = Fixed::fromInt(1);
};

struct Player {
    Stock metal;
    Stock energy;
};

/// By number less 1.
using Players = std::array<Player, kPlayerCount>;

template <typename Visit>
void eachField(const Stock& stock, Visit visit) {
    visit("amount", stock.amount);
    visit("storage", stock.storage);
    visit("income", stock.income);
    visit("drain", stock.drain);
    visit("share", stock.share);
}
static_assert(sizeof(Stock) == 40);

template <typename Visit>
void eachField(const Player& player, Visit visit) {
    visit("metal", player.metal);
    visit("energy", player.energy);
}
static_assert(sizeof(Player) == 80);

}  // namespace orb::sim
