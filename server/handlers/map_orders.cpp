#include <algorithm>

#include <fmt/format.h>

#include "server/handlers/decode_order.h"
#include "server/handlers/encode_events.h"
#include "server/handlers/handlers.h"
#include "session/map_play.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

/// More would set those of a player more than once.
constexpr std::size_t kMaxStocks = 64;

std::vector<PlayRequest::Stocks> decodeStocks(const Members& members) {
    std::vector<PlayRequest::Stocks> stocks;
    for (const Members& entry : members.objects("stocks", kMaxStocks)) {
        const auto metal = entry.number("metal"), energy = entry.number("energy");
        stocks.push_back({decodePlayer(entry).value_or(1), metal, energy});
    }
    return stocks;
}

PlayUntil untilOf(const std::string& word) {
    PlayUntil until;
    until.isIdle = word == "idle";
    if (until.isIdle) return until;
    until.eventKind = eventKindOfWord(word);
    if (!until.eventKind) throw RequestError("unknown event: " + word);
    return until;
}

std::string_view endWord(PlayEnd end) {
    static constexpr std::array<std::string_view, 3> kWords = {"ticks", "until", "time"};
    return kWords.at(static_cast<std::size_t>(end));
}

void encodeStock(json& data, const std::string& name, const sim::Stock& stock) {
    data[name] = stock.amount.toNumber();
    data[name + "Storage"] = stock.storage.toNumber();
    data[name + "Income"] = stock.income.toNumber();
    data[name + "Drain"] = stock.drain.toNumber();
    data[name + "Produced"] = stock.produced.toNumber();
    data[name + "Spent"] = stock.spent.toNumber();
    data[name + "Wasted"] = stock.wasted.toNumber();
    data[name + "Share"] = stock.share.toNumber();
}

json encodePlayers(const sim::World& world) {
    json players = json::array();
    for (std::int32_t number = 1; number <= sim::kPlayerCount; ++number) {
        const bool plays =
            std::any_of(world.units().begin(), world.units().end(),
                        [&](const sim::Unit& unit) { return unit.player == number; });
        if (!plays) continue;
        const sim::Player& player = world.players()[static_cast<std::size_t>(number - 1)];
        json data = {{"player", number}};
        encodeStock(data, "metal", player.metal);
        encodeStock(data, "energy", player.energy);
        players.push_back(std::move(data));
    }
    return players;
}

json encodePlay(const sim::World& world, const Play& play) {
    json events = json::array();
    for (const sim::Event& event : world.events().events()) events.push_back(encodeEvent(event));
    return {{"tick", world.tick()},
            {"ticksDone", play.ticksDone},
            {"stopped", endWord(play.end)},
            {"unitCount", world.units().count()},
            {"projectileCount", world.projectiles().all.size()},
            {"wind", world.wind().speed},
            {"windHeading", world.wind().heading.radians()},
            {"players", encodePlayers(world)},
            {"hash", fmt::format("{:016x}", world.hash().whole())},
            {"events", std::move(events)},
            {"eventsDropped", world.events().dropped()}};
}

}  // namespace

Reply mapMove(UnitViewSession& session, const Payload& payload) {
    const Members data(payload);
    auto unitIds = decodeIds(data, "unitIds");
    const auto unitId = data.whole("unitId");
    OrderMembers members = decodeOrderMembers(data);
    if (!unitIds && unitId) unitIds = std::vector{*unitId};
    if (!unitIds || unitIds->empty()) throw RequestError("unit ids are required");
    MapOrder order = orderOfMembers(std::move(members));
    sim::OrderRequest request;
    const auto answers = session.changeMap([&](LoadedMap& map) {
        request = preparedOrder(map, session.data(), std::move(order));
        return giveOrder(map, *unitIds, request);
    });
    json accepted = json::array();
    for (std::size_t i = 0; i < answers.size(); ++i)
        if (answers[i].isTaken()) accepted.push_back((*unitIds)[i]);
    return {{{"accepted", std::move(accepted)},
             {"refused", encodeRefused(*unitIds, answers, request)}}};
}

Reply mapTick(UnitViewSession& session, const Payload& payload) {
    const Members members(payload);
    PlayRequest request;
    request.ticks = members.whole("ticks").value_or(1);
    request.keepsEvents = members.flag("events").value_or(true);
    const auto until = members.text("until");
    request.stocks = decodeStocks(members);
    if (until) request.until = untilOf(*until);
    const Play play = session.changeMap([&](LoadedMap& map) { return playTicks(map, request); });
    sim::World& world = session.requireMap().world;
    json data = encodePlay(world, play);
    world.events().clear();
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
