#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "sim/numbers/fixed.h"

namespace orb::sim {

inline constexpr std::int32_t kPlayerCount = 10;

/// What a player has of one resource.
struct Stock {
    Amount amount;
    Amount storage;
    /// What there is room for without any unit.
    Amount ownStorage;
    /// Of the last tick, per second: what came, and what was asked for.
    Amount income;
    Amount drain;
    /// Since the beginning: `amount` is what it was set to, plus the first, less the others.
    Amount produced;
    Amount spent;
    /// For which there was no room.
    Amount wasted;
    /// What a thirtieth of the income was short of whole steps, in thirtieths of a step.
    std::int32_t incomeRest = 0;
    /// The same of the upkeep.
    std::int32_t upkeepRest = 0;
    /// The part of what was asked for that there was.
    Fixed share = Fixed::fromInt(1);

    void gain(Amount more) {
        amount += more;
        add(produced, more);
    }
    /// False, and nothing is taken, when there is less.
    bool pay(Amount price) {
        if (price > amount) return false;
        amount -= price;
        add(spent, price);
        return true;
    }
    /// What there is no room for is lost.
    void spill() {
        if (amount <= storage) return;
        add(wasted, amount - storage);
        amount = storage;
    }

private:
    /// Totals stop where they would overflow.
    static void add(Amount& total, Amount more) {
        constexpr std::int64_t kMost = std::int64_t{1} << 61;
        total = Amount::fromRaw(std::min(kMost, total.raw() + std::min(kMost, more.raw())));
    }
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
    visit("ownStorage", stock.ownStorage);
    visit("income", stock.income);
    visit("drain", stock.drain);
    visit("produced", stock.produced);
    visit("spent", stock.spent);
    visit("wasted", stock.wasted);
    visit("incomeRest", stock.incomeRest);
    visit("upkeepRest", stock.upkeepRest);
    visit("share", stock.share);
}
static_assert(sizeof(Stock) == 80);

template <typename Visit>
void eachField(const Player& player, Visit visit) {
    visit("metal", player.metal);
    visit("energy", player.energy);
}
static_assert(sizeof(Player) == 160);

}  // namespace orb::sim
