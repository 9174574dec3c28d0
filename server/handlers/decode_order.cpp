#include "server/handlers/decode_order.h"

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_set>

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
/// Scripts take a handful.
constexpr std::size_t kMaxArguments = 64;

/// Leaves aside what an order does not take, and asks for what it needs.
void checkAim(OrderMembers& members) {
    auto& [word, request, product, slot, x, z, value] = members;
    using Aim = sim::OrderRule::Aim;
    const sim::OrderRule& rule = sim::orderRule(request.kind);
    const bool isUnload = request.kind == OrderKind::unload;  // takes both
    if (!rule.takesTarget() && !isUnload) request.target.reset();
    if (request.kind != OrderKind::reclaim) request.feature.reset();
    if (rule.takesPlace() && x && z)
        request.place = {sim::Fixed::fromNumber(*x), sim::Fixed::fromNumber(*z)};

    const bool hasTarget = request.target || request.feature;
    if (rule.aim == Aim::place && !request.place) throw RequestError(word + " needs x and z");
    if ((rule.aim == Aim::target && !hasTarget) ||
        (rule.aim == Aim::targetOrPlace && !hasTarget && !request.place))
        throw RequestError(word + " needs a target");
    if (rule.aim == Aim::product && product.empty())
        throw RequestError(word + " needs a unit name");
    if (rule.takesPlace() && !hasTarget && x.has_value() != z.has_value())
        throw RequestError(word + " needs x and z");
    // A unit goes before a feature and a place.
    if (!request.target || isUnload) return;
    request.feature.reset();
    request.place.reset();
}

void checkSlot(OrderMembers& members) {
    if (!members.slot || !sim::orderRule(members.request.kind).needsWeapon) return;
    if (*members.slot < 0 || *members.slot >= std::int64_t{sim::kWeaponSlots})
        throw RequestError("slot must be 0 to 2");
    members.request.slot = static_cast<std::int8_t>(*members.slot);
}

void checkValue(OrderMembers& members) {
    const auto& value = members.value;
    const OrderKind kind = members.request.kind;
    const bool isState = kind == OrderKind::moveState || kind == OrderKind::fireState;
    if (!value && (isState || kind == OrderKind::damage))
        throw RequestError(members.word + " needs a value");
    if (isState && *value != 0 && *value != 1 && *value != 2)
        throw RequestError("value must be 0 to 2");
    if (kind == OrderKind::damage && *value < 0) throw RequestError("value must be 0 or more");
    members.request.value = value.value_or(kUsualSeverity);
}

/// With what parts it from the words before.
std::string_view textOf(sim::OrderHindrance hindrance) {
    constexpr std::array<std::string_view, 12> kTexts = {"",
                                                         ": itself",
                                                         ": aboard already",
                                                         ": hold full",
                                                         ": nobody aboard",
                                                         ": too large",
                                                         ": cannot be carried",
                                                         ": carries others",
                                                         ": of another player",
                                                         ": of the same player",
                                                         ": target not built",
                                                         ": no landing pad"};
    return kTexts.at(static_cast<std::size_t>(hindrance));
}

std::string reasonOf(const sim::OrderAnswer& answer, const sim::OrderRequest& request) {
    switch (answer.refusal) {
        case OrderRefusal::noSuchUnit:
            return "no such unit";
        case OrderRefusal::noSuchTarget:
            return "no such target";
        case OrderRefusal::cannotMove:
            return "cannot move";
        case OrderRefusal::noWeapon:
            return request.slot < 0 ? "no weapon"
                                    : fmt::format("no weapon in slot {}", request.slot);
        case OrderRefusal::onlyOnCommand:
            return "fires on command only";
        case OrderRefusal::cannotReach:
            return "cannot reach target";
        case OrderRefusal::queueFull:
            return "order queue full";
        case OrderRefusal::notBuilt:
            return "not built";
        case OrderRefusal::cannotWork:
            if (request.kind == OrderKind::build) return "cannot build " + request.product->name;
            return fmt::format("cannot {}{}", orderWord(request.kind), textOf(answer.hindrance));
        case OrderRefusal::needsPlace:
            return "build needs x and z";
        case OrderRefusal::outOfRange:
            return "out of range";
        case OrderRefusal::carried:
            return "carried";
        case OrderRefusal::cannotPlace:
            return fmt::format("cannot place: {}", sim::textOf(answer.fault));
        case OrderRefusal::tooManyThreads:
            return "too many script threads";
        case OrderRefusal::cannotCloak:
            return "cannot cloak";
        case OrderRefusal::none:
            break;
    }
    return {};
}

/// Words of 32 bits, with or without a sign.
std::vector<std::int32_t> decodeArguments(const Members& members) {
    std::vector<std::int32_t> words;
    for (const std::int64_t word :
         members.wholes("args", kMaxArguments).value_or(std::vector<std::int64_t>{})) {
        if (word < std::numeric_limits<std::int32_t>::min() ||
            word > std::numeric_limits<std::uint32_t>::max())
            throw PayloadError(members.nameOf("args") + " must be numbers of 32 bits");
        words.push_back(static_cast<std::int32_t>(word));
    }
    return words;
}

}  // namespace

std::optional<std::vector<std::int64_t>> decodeIds(const Members& members, std::string_view key) {
    auto named = members.wholes(key, kMaxIds);
    if (!named) return std::nullopt;
    std::vector<std::int64_t> ids;
    std::unordered_set<std::int64_t> known;
    ids.reserve(named->size());
    for (const std::int64_t id : *named)
        if (known.insert(id).second) ids.push_back(id);
    return ids;
}

std::optional<std::int32_t> decodePlayer(const Members& members) {
    const auto player = members.whole("player");
    if (player && (*player < 1 || *player > sim::kPlayerCount))
        throw RequestError(
            fmt::format("{} must be 1 to {}", members.nameOf("player"), sim::kPlayerCount));
    return player ? std::optional(static_cast<std::int32_t>(*player)) : std::nullopt;
}

OrderMembers decodeOrderMembers(const Members& payload) {
    OrderMembers members;
    sim::OrderRequest& request = members.request;
    members.word = payload.text("order").value_or("move");
    members.x = payload.number("x");
    members.z = payload.number("z");
    members.slot = payload.whole("slot");
    members.value = payload.number("value");
    request.target = payload.whole("target");
    request.feature = payload.whole("targetFeature");
    members.product = payload.text("unit").value_or("");
    request.count = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(payload.whole("count").value_or(1), 1, kMostProducts));
    request.isQueued = payload.flag("queue").value_or(false);
    request.isForced = payload.flag("force").value_or(false);
    request.isUnrestricted = payload.flag("unrestricted").value_or(false);
    if (const auto heading = payload.number("heading")) {
        request.heading = sim::Angle::fromRadians(*heading);
        request.hasHeading = true;
    }
    request.script = payload.text("name").value_or("");
    request.arguments = decodeArguments(payload);
    return members;
}

MapOrder orderOfMembers(OrderMembers members) {
    sim::OrderRequest& request = members.request;
    const auto kind = orderOfWord(members.word);
    if (!kind) throw RequestError("unknown order: " + members.word);
    request.kind = *kind;
    checkAim(members);
    checkSlot(members);
    checkValue(members);
    if (*kind == OrderKind::script && request.script.empty())
        throw RequestError("script name is required");
    return {std::move(members.request), std::move(members.product)};
}

json encodeRefused(std::span<const std::int64_t> unitIds, std::span<const sim::OrderAnswer> answers,
                   const sim::OrderRequest& request) {
    json refused = json::array();
    for (std::size_t i = 0; i < answers.size(); ++i)
        if (!answers[i].isTaken())
            refused.push_back({{"unitId", unitIds[i]}, {"reason", reasonOf(answers[i], request)}});
    return refused;
}

}  // namespace orb::unitview::ipc
