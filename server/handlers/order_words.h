#pragma once

#include <optional>
#include <string_view>

#include "sim/orders/order.h"

/// The protocol's words for orders.
namespace orb::unitview::ipc {

std::string_view orderWord(sim::OrderKind kind);
std::optional<sim::OrderKind> orderOfWord(std::string_view word);

}  // namespace orb::unitview::ipc
