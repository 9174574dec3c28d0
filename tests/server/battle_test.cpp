/// One battle on the sample map, played in many ways that must not matter. Its requests stand in
/// battle.jsonl, those that let time pass with the hash that the world has afterwards; with
/// ORB_WRITE_HASHES=1 the test writes the hashes that it finds.

#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "server/command_table.h"
#include "server/payload.h"
#include "server/reply.h"
#include "session/unit_view_session.h"
#include "tests/quiet_log.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

constexpr const char* kBattle = ORB_SERVER_TESTS_DIR "/battle.jsonl";

std::vector<json> readBattle() {
    std::vector<json> requests;
    std::ifstream file(kBattle);
    for (std::string line; std::getline(file, line);)
        if (!line.empty()) requests.push_back(json::parse(line));
    return requests;
}

/// A session in which the battle is fought.
class Battlefield {
public:
    explicit Battlefield(std::size_t threads = 1) : threads_(threads) {
        const std::string data = ORB_SAMPLE_DATA;
        ask("set-data-roots", {{"taDataPath", data + "/game"}, {"mapsPath", data + "/maps"}});
    }

    json ask(const std::string& type, json data) {
        if (type == "map-load") data["threads"] = threads_;
        const Command* const command = findCommand(type);
        if (!command) throw std::runtime_error("unknown message type: " + type);
        return command->handler(session_, Payload::parse(data.dump())).data;
    }
    /// Lets so many ticks pass in one request, or in more where the machine is too slow for that.
    json pass(std::int64_t ticks) {
        json reply;
        for (std::int64_t left = ticks; left > 0; left -= reply["ticksDone"].get<std::int64_t>()) {
            reply = ask("map-tick", {{"ticks", left}});
            for (const json& event : reply["events"]) kinds_.insert(event["kind"]);
        }
        return reply;
    }
    sim::World& world() { return session_.requireMap().world; }
    std::string hash() { return pass(0)["hash"]; }
    /// Of the events so far.
    const std::set<std::string>& kinds() const { return kinds_; }

private:
    std::size_t threads_;
    UnitViewSession session_;
    std::set<std::string> kinds_;
};

bool isTick(const json& request) {
    return request["type"] == "map-tick";
}

std::int64_t ticksOf(const json& request) {
    return request["data"]["ticks"];
}

/// Fights the battle, `pass(field, ticks)` letting time pass, and compares the hashes.
void fight(Battlefield& field, const std::function<json(Battlefield&, std::int64_t)>& pass) {
    for (const json& request : readBattle()) {
        if (!isTick(request)) {
            field.ask(request["type"], request["data"]);
            continue;
        }
        const json reply = pass(field, ticksOf(request));
        ASSERT_EQ(reply["hash"], request["hash"]) << "at tick " << reply["tick"];
    }
}

json passAtOnce(Battlefield& field, std::int64_t ticks) {
    return field.pass(ticks);
}

json passOneByOne(Battlefield& field, std::int64_t ticks) {
    for (; ticks > 1; --ticks) field.pass(1);
    return field.pass(1);
}

json passWithoutDerived(Battlefield& field, std::int64_t ticks) {
    for (; ticks > 1; --ticks) {
        field.world().dropDerived();
        field.pass(1);
    }
    field.world().dropDerived();
    return field.pass(1);
}

/// The first line in which two dumps of a state differ.
std::string firstDifference(const std::string& left, const std::string& right) {
    std::istringstream a(left), b(right);
    std::string lineA, lineB;
    for (int number = 1;; ++number) {
        const bool isA = static_cast<bool>(std::getline(a, lineA));
        const bool isB = static_cast<bool>(std::getline(b, lineB));
        if (!isA && !isB) return "no difference";
        if (lineA != lineB || isA != isB)
            return "line " + std::to_string(number) + ": " + lineA + " | " + lineB;
    }
}

std::string describeDifference(Battlefield& left, Battlefield& right) {
    const sim::StateHash a = left.world().hash(), b = right.world().hash();
    std::string parts;
    for (std::size_t i = 0; i < a.parts.size(); ++i)
        if (a.parts[i] != b.parts[i]) parts += " " + std::string(sim::kStatePartNames[i]);
    return parts + ", " + firstDifference(left.world().dump(), right.world().dump());
}

TEST(Battle, EndsAsItWasWrittenDown) {
    const QuietLog quiet;
    Battlefield field;
    if (std::getenv("ORB_WRITE_HASHES")) {
        std::ostringstream lines;
        for (json request : readBattle()) {
            if (isTick(request))
                request["hash"] = field.pass(ticksOf(request))["hash"];
            else
                field.ask(request["type"], request["data"]);
            lines << request.dump() << '\n';
        }
        std::ofstream(kBattle) << lines.str();
        return;
    }
    fight(field, passAtOnce);
    // it would show little if nothing happened in it
    for (const char* kind : {"order-done", "aimed", "fired", "hit", "killed", "corpse"})
        EXPECT_TRUE(field.kinds().contains(kind)) << kind;
}

TEST(Battle, IsTheSameForEveryNumberOfThreads) {
    const QuietLog quiet;
    for (const std::size_t threads : {2U, 3U, 4U}) {
        Battlefield field(threads);
        fight(field, passAtOnce);
    }
}

TEST(Battle, IsTheSameTickByTick) {
    const QuietLog quiet;
    Battlefield field(2);
    fight(field, passOneByOne);
}

TEST(Battle, IsTheSameWithAllThatIsDerivedDroppedBeforeEachTick) {
    const QuietLog quiet;
    Battlefield field(2);
    fight(field, passWithoutDerived);
}

TEST(Battle, TwoWorldsSideBySideNeverPart) {
    const QuietLog quiet;
    Battlefield left(1), right(2);
    for (const json& request : readBattle()) {
        if (!isTick(request)) {
            left.ask(request["type"], request["data"]);
            right.ask(request["type"], request["data"]);
            continue;
        }
        for (std::int64_t i = 0; i < ticksOf(request); ++i) {
            left.pass(1);
            right.pass(1);
            ASSERT_TRUE(left.world().hash() == right.world().hash())
                << "after tick " << left.world().tick() << ":" << describeDifference(left, right);
        }
    }
}

/// Many times with two threads: a race shows by chance.
TEST(Battle, IsTheSameEachTimeThatTwoThreadsFightIt) {
    const QuietLog quiet;
    for (int i = 0; i < 10; ++i) {
        Battlefield field(2);
        fight(field, passAtOnce);
    }
}

}  // namespace
}  // namespace orb::unitview::ipc
