#include "server/handlers/decode_order.h"

#include <algorithm>

#include <fmt/format.h>

#include "server/handlers/order_words.h"
#include "session/request_error.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;
using sim::OrderKind;
using sim::OrderRefusal;

constexpr double kUsualSeverity = 100;
constexpr std::int64_t kMostProducts = 1'000;

void requireAim(const OrderMembers& members) {
    const auto& [word, request, product, slot, x, z] = members;
    using Aim = sim::OrderRule::Aim;
    const Aim aim = sim::orderRule(request.kind).aim;
    const bool hasTarget = request.target || request.feature;
    if (aim == Aim::place && !request.place) throw RequestError(word + " needs x and z");
    if ((aim == Aim::target && !hasTarget) ||
        (aim == Aim::targetOrPlace && !hasTarget && !request.place))
        throw RequestError(word + " needs a target");
    if (aim == Aim::product && product.empty()) throw RequestError(word + " needs a unit name");
}

std::string reasonOf(OrderRefusal refusal, const sim::OrderRequest& request) {
    switch (refusal) {
        case OrderRefusal::noSuchUnit:
            return "no such unit";
        case OrderRefusal::noSuchTarget:
            return "no such target";
        case OrderRefusal::cannotMove:
            return "cannot move";
        case OrderRefusal::noWeapon:
            return request.slot < 0 ? "no weapon"
                                    : fmt::format("no weapon in slot {}", request.slot);
        case OrderRefusal::queueFull:
            return "order queue full";
        case OrderRefusal::notBuilt:
            return "not built";
        case OrderRefusal::cannotWork:
            return request.kind == OrderKind::build
                       ? "cannot build " + request.product->name
                       : fmt::format("cannot {}", orderWord(request.kind));
        case OrderRefusal::needsPlace:
            return "build needs x and z";
        case OrderRefusal::cannotCloak:
            return "cannot cloak";
        case OrderRefusal::none:
            break;
    }
    return {};
}

}  // namespace

OrderMembers decodeOrderMembers(const Payload& payload) {
    OrderMembers members;
    sim::OrderRequest& request = members.request;
    members.word = payload.text("order").value_or("move");
    members.x = payload.number("x");
    members.z = payload.number("z");
    members.slot = payload.integer("slot");
    request.target = payload.integer("target");
    request.feature = payload.integer("targetFeature");
    members.product = payload.text("unit").value_or("");
    request.count = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(payload.integer("count").value_or(1), 1, kMostProducts));
    request.isQueued = payload.flag("queue").value_or(false);
    request.isUnrestricted = payload.flag("unrestricted").value_or(false);
    const auto value = payload.number("value");
    request.value = value.value_or(members.word == orderWord(OrderKind::kill) ? kUsualSeverity : 0);
    if (const auto heading = payload.number("heading")) {
        request.heading = sim::Angle::fromRadians(*heading);
        request.hasHeading = true;
    }
    request.script = payload.text("name").value_or("");
    for (const std::int64_t word : payload.integers("args").value_or(std::vector<std::int64_t>{}))
        request.arguments.push_back(static_cast<std::int32_t>(word));
    return members;
}

MapOrder orderOfMembers(OrderMembers members) {
    sim::OrderRequest& request = members.request;
    const auto kind = orderOfWord(members.word);
    if (!kind) throw RequestError("unknown order: " + members.word);
    request.kind = *kind;
    if (members.x && members.z)
        request.place = {sim::Fixed::fromNumber(*members.x), sim::Fixed::fromNumber(*members.z)};
    if (members.slot && (*members.slot < 0 || *members.slot >= std::int64_t{sim::kWeaponSlots}))
        throw RequestError("slot must be 0 to 2");
    request.slot = static_cast<std::int8_t>(members.slot.value_or(-1));
    requireAim(members);
    if (*kind == OrderKind::script && request.script.empty())
        throw RequestError("script name is required");
    if (!sim::orderRule(*kind).isKnown) throw RequestError("not implemented: " + members.word);
    return {std::move(members.request), std::move(members.product)};
}

json encodeRefused(std::span<const std::int64_t> unitIds, std::span<const OrderRefusal> answers,
                   const sim::OrderRequest& request) {
    json refused = json::array();
    for (std::size_t i = 0; i < answers.size(); ++i)
        if (answers[i] != OrderRefusal::none)
            refused.push_back({{"unitId", unitIds[i]}, {"reason", reasonOf(answers[i], request)}});
    return refused;
}

}  // namespace orb::unitview::ipc
