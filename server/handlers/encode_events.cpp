#include "server/handlers/encode_events.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "server/handlers/order_words.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

/// By kind.
constexpr std::array<std::string_view, sim::kEventKinds> kKindWords = {
    "order-done", "order-failed", "blocked",        "built",   "aimed",        "aim-failed",
    "fired",      "hit",          "killed",         "corpse",  "feature-gone", "explode",
    "effect",     "sound",        "script-missing", "stalled", "feature-burns"};

/// Writes the members of one event.
class EventEncoder {
public:
    EventEncoder(const sim::Event& event, json& data) : event_(event), data_(data) {}

    void operator()(const sim::OrderDone& done) {
        data_["order"] = orderWord(done.order);
        data_["reached"] = done.hasReached;
    }
    void operator()(const sim::OrderFailed& failed) {
        static constexpr std::array<std::string_view, 6> kReasons = {
            "blocked",   "target gone",         "no way",
            "cannot do", "cannot reach target", "unit limit reached"};
        data_["order"] = orderWord(failed.order);
        data_["reason"] = failed.fault == sim::SiteFault::none
                              ? kReasons.at(static_cast<std::size_t>(failed.reason))
                              : sim::textOf(failed.fault);
    }
    void operator()(const sim::Blocked&) {}
    void operator()(const sim::Built&) {}
    void operator()(const sim::Aimed& aimed) { data_["slot"] = aimed.slot; }
    void operator()(const sim::AimFailed& failed) {
        static constexpr std::array<std::string_view, 4> kReasons = {
            "script returned 0", "no script", "out of range", "no line"};
        data_["slot"] = failed.slot;
        data_["reason"] = kReasons.at(static_cast<std::size_t>(failed.reason));
    }
    void operator()(const sim::Fired& fired) {
        data_["slot"] = fired.slot;
        data_["weapon"] = fired.weapon;
        place(fired.muzzle);
        piece(fired.piece);
    }
    void operator()(const sim::Hit& hit) {
        data_["weapon"] = hit.weapon;
        place(hit.place);
        json damaged = json::array();
        for (const auto& [unitId, damage] : hit.damaged)
            damaged.push_back({{"unitId", unitId}, {"damage", damage.toNumber()}});
        data_["damaged"] = std::move(damaged);
        if (hit.moreDamaged > 0) data_["moreDamaged"] = hit.moreDamaged;
    }
    void operator()(const sim::Killed& killed) {
        data_["severity"] = killed.severity;
        data_["corpseType"] = killed.corpseType;
        if (!killed.corpse.empty()) data_["corpse"] = killed.corpse;
    }
    void operator()(const sim::CorpseLeft& corpse) {
        data_["featureId"] = corpse.featureId;
        data_["name"] = corpse.name;
    }
    void operator()(const sim::FeatureGone& gone) { data_["featureId"] = gone.featureId; }
    void operator()(const sim::Explode& explode) {
        piece(explode.piece);
        data_["flags"] = explode.flags;
    }
    void operator()(const sim::Effect& effect) {
        piece(effect.piece);
        data_["type"] = effect.type;
        place(effect.place);
    }
    void operator()(const sim::Sound& sound) {
        if (sound.name.empty())
            data_["number"] = sound.number;
        else
            data_["name"] = sound.name;
    }
    void operator()(const sim::ScriptMissing& missing) { data_["script"] = missing.script; }
    void operator()(const sim::Stalled&) {}
    void operator()(const sim::FeatureBurns& burns) { data_["featureId"] = burns.featureId; }

private:
    void place(const sim::Vector& at) {
        data_["x"] = at.x.toNumber();
        data_["y"] = at.y.toNumber();
        data_["z"] = at.z.toNumber();
    }
    void piece(std::int32_t index) {
        if (!event_.unitType || index < 0 ||
            static_cast<std::size_t>(index) >= event_.unitType->pieces.size())
            return;
        data_["piece"] = event_.unitType->pieces[static_cast<std::size_t>(index)];
        data_["pieceIndex"] = index;
    }

    const sim::Event& event_;
    json& data_;
};

}  // namespace

json encodeEvent(const sim::Event& event) {
    json data = {{"kind", kKindWords.at(event.detail.index())}, {"tick", event.tick}};
    if (event.unitId != 0) data["unitId"] = event.unitId;
    std::visit(EventEncoder(event, data), event.detail);
    return data;
}

std::optional<std::size_t> eventKindOfWord(std::string_view word) {
    const auto* const found = std::ranges::find(kKindWords, word);
    if (found == kKindWords.end()) return std::nullopt;
    return static_cast<std::size_t>(found - kKindWords.begin());
}

}  // namespace orb::unitview::ipc
