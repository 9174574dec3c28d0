#include "server/handlers/order_words.h"

#include <algorithm>
#include <array>

namespace orb::unitview::ipc {
namespace {

/// By kind.
constexpr std::array<std::string_view, 26> kWords = {
    "move",       "patrol", "stop",    "attack",    "fire",      "guard",        "repair",
    "capture",    "load",   "unload",  "land",      "build",     "reclaim",      "activate",
    "deactivate", "cloak",  "decloak", "moveState", "fireState", "selfDestruct", "damage",
    "kill",       "finish", "place",   "script",    "remove"};
static_assert(static_cast<std::size_t>(sim::OrderKind::remove) + 1 == kWords.size());

}  // namespace

std::string_view orderWord(sim::OrderKind kind) {
    return kWords.at(static_cast<std::size_t>(kind));
}

std::optional<sim::OrderKind> orderOfWord(std::string_view word) {
    const auto* const found = std::ranges::find(kWords, word);
    if (found == kWords.end()) return std::nullopt;
    return static_cast<sim::OrderKind>(found - kWords.begin());
}

}  // namespace orb::unitview::ipc
