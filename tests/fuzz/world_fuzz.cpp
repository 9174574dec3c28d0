#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "io/formats/tdf_writer.h"
#include "io/formats/tnt.h"
#include "server/command_table.h"
#include "server/handlers/order_words.h"
#include "server/payload.h"
#include "server/reply.h"
#include "session/unit_view_session.h"

// A battle on a small map. First come changes of what the sample game defines: how many, and of
// each which definition and a line "SECTION/key=value"; then the shape of the ground; then requests
// until the input ends. Two sessions, one with more threads that forgets all that can be derived,
// must answer the same, and what they show must be possible.

namespace orb::fuzz {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using unitview::UnitViewSession;

constexpr const char* kMods[] = {"arms", "works", "watch", "wings", "found"};
constexpr std::size_t kMostChanges = 12;
constexpr std::size_t kMostRequests = 48;
constexpr std::int64_t kMostTicks = 240;
constexpr std::size_t kMostUnits = 24;
constexpr std::int64_t kPlayers = 3;

constexpr const char* kDescription =
    "[GlobalHeader]{missionname=Fuzz;gravity=112;minwindspeed=500;maxwindspeed=3000;"
    "tidalstrength=20;lineofsight=1;[Schema 0]{Type=Network 1;SurfaceMetal=3;HumanMetal=1000;"
    "[specials]{[special0]{specialwhat=StartPos1;XPos=64;ZPos=64;}}"
    "[units]{[unit0]{Unitname=FENWADE;XPos=96;ZPos=96;Player=1;}}"
    "[features]{[feature0]{Featurename=FenAlder;XPos=6;ZPos=6;}}}}";

/// A text of the sample game that inputs may change.
struct Definition {
    std::string path;
    std::string text;
};

std::string dataFolder() {
    const char* const data = std::getenv("ORB_FUZZ_DATA");
    require(data != nullptr, "ORB_FUZZ_DATA names the sample data");
    return data;
}

unitview::DataRootsRequest sampleRoots() {
    unitview::DataRootsRequest roots{
        .taDataPath = fs::path(dataFolder()) / "game", .modPaths = {}, .mapsPath = {}};
    for (const char* const mod : kMods) roots.modPaths.push_back(fs::path(dataFolder()) / mod);
    return roots;
}

void addTable(std::vector<Definition>& definitions, const unitview::NamedTable& table,
              const std::string& folder) {
    for (const unitview::TableEntry* const entry : table.visible())
        definitions.push_back({folder + "/fuzz" + std::to_string(definitions.size()) + ".tdf",
                               io::tdfText(entry->name, entry->section)});
}

struct SampleGame {
    std::vector<std::string> units;
    std::vector<std::string> features;
    std::vector<Definition> definitions;

    SampleGame() {
        UnitViewSession session;
        const unitview::MountedData& data = session.setDataRoots(sampleRoots());
        for (const unitview::UnitDeclaration* const unit : data.catalogue.roster()) {
            units.push_back(unit->name);
            const auto text = data.files.readFile(unit->file.path);
            require(text.has_value(), "the sample game's units can be read");
            definitions.push_back({unit->file.path, std::string(io::asText(*text))});
        }
        for (const unitview::TableEntry* const entry : data.tables.features.visible())
            features.push_back(entry->name);
        addTable(definitions, data.tables.weapons, "weapons");
        addTable(definitions, data.tables.features, "features");
        std::string classes;
        for (const unitview::TableEntry* const entry : data.tables.movementClasses.visible())
            classes += io::tdfText(entry->name, entry->section);
        definitions.push_back({"gamedata/moveinfo.tdf", classes});
        definitions.push_back({"maps/fuzz.ota", kDescription});
        require(definitions.size() <= 256, "a byte names any definition");
    }
};

const SampleGame& sampleGame() {
    static const SampleGame game;
    return game;
}

// ---- The mod in front of the sample game ----

fs::path modFolder() {
    return scratchFolder() / "mod";
}

void writeFile(const std::string& path, std::string_view content) {
    const fs::path file = modFolder() / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

/// The text with one line "SECTION/…/key=value" put into it.
std::string changedText(const std::string& text, std::string_view line) {
    const io::TdfSection old = io::parseTdf(text);
    io::TdfSection root = io::parseTdf(text);
    const std::size_t equals = std::min(line.find('='), line.size());
    std::string_view path = line.substr(0, equals);
    io::TdfSection* section = &root;
    // Without a section the line belongs to the first one.
    if (path.find('/') == std::string_view::npos && !old.order.empty())
        section = &root.openChild(old.order.front().name);
    for (auto slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/')) {
        section = &section->openChild(path.substr(0, slash));
        path.remove_prefix(slash + 1);
    }
    section->setValue(path, line.substr(std::min(equals + 1, line.size())));
    std::string changed;
    for (const auto& [kind, name] : root.order)
        if (kind == io::TdfSection::Entry::Kind::section)
            changed += io::tdfText(name, *root.child(name));
    return changed;
}

void writeDefinitions(Choices& choices) {
    std::map<std::size_t, std::string> changed;
    const std::size_t ota = sampleGame().definitions.size() - 1;
    changed[ota] = sampleGame().definitions[ota].text;
    for (std::size_t left = choices.below(kMostChanges + 1); left > 0; --left) {
        const std::size_t which = choices.below(sampleGame().definitions.size());
        const Definition& definition = sampleGame().definitions[which];
        const auto [text, isNew] = changed.try_emplace(which, definition.text);
        text->second = changedText(text->second, choices.until('\n'));
    }
    for (const auto& [which, text] : changed) writeFile(sampleGame().definitions[which].path, text);
}

/// Hills between knots, rather flat ones, so that most units find where to stand.
class Hills {
public:
    explicit Hills(Choices& choices) {
        for (std::uint8_t& knot : knots_) knot = choices.byte() / 3;
    }
    std::uint8_t at(std::size_t x, std::size_t z, io::TntSize size) const {
        const std::size_t across = x * kStep * (kSide - 1) / size.width;
        const std::size_t down = z * kStep * (kSide - 1) / size.height;
        const std::size_t first = down / kStep * kSide + across / kStep;
        const std::size_t right = across % kStep, below = down % kStep;
        const std::size_t north = knots_[first] * (kStep - right) + knots_[first + 1] * right;
        const std::size_t south =
            knots_[first + kSide] * (kStep - right) + knots_[first + kSide + 1] * right;
        return static_cast<std::uint8_t>((north * (kStep - below) + south * below) /
                                         (kStep * kStep));
    }

private:
    static constexpr std::size_t kSide = 4, kStep = 16;
    std::array<std::uint8_t, kSide * kSide> knots_{};
};

/// Returns the map's size.
io::TntSize writeGround(Choices& choices) {
    const auto& features = sampleGame().features;
    io::TntFile map;
    map.size = {static_cast<std::uint32_t>(12 + choices.below(37)),
                static_cast<std::uint32_t>(12 + choices.below(37))};
    map.seaLevel = choices.byte() / 4;
    const Hills hills(choices);
    const std::size_t every = 8 * choices.below(32);
    const bool hasHoles = choices.below(4) == 3;
    map.featureNames = {features[choices.below(features.size())],
                        features[choices.below(features.size())], "no such feature"};
    for (std::size_t z = 0; z < map.size.height; ++z)
        for (std::size_t x = 0; x < map.size.width; ++x) {
            const std::size_t i = map.cells.size();
            io::TntCell& cell = map.cells.emplace_back();
            cell.height = hills.at(x, z, map.size);
            if (every > 0 && i % every == 5)
                cell.feature = static_cast<std::uint16_t>(i / every % 4);
            if (hasHoles && i % 37 == 0) cell.feature = io::kTntVoid;
        }
    map.tileMap.assign(std::size_t{map.tilesAcross()} * map.tilesDown(), 0);
    map.tiles.assign(io::kTntTilePixels, 1);
    writeFile("maps/fuzz.tnt", io::asText(io::writeTnt(map)));
    return map.size;
}

// ---- Requests ----

class Battle {
public:
    Battle(std::int64_t threads, bool forgets) : forgets_(forgets) {
        unitview::DataRootsRequest roots = sampleRoots();
        roots.modPaths.insert(roots.modPaths.begin(), modFolder());
        session_.setDataRoots(roots);
        ask("map-load", {{"name", "fuzz"}, {"threads", threads}, {"seed", 7}});
    }

    bool isLoaded() const { return isLoaded_; }

    /// The reply's data, with the bytes of its frame; the text of an error.
    json ask(std::string_view type, json data) {
        if (forgets_ && type == "map-tick") session_.requireMap().world.dropDerived();
        const unitview::ipc::Command* const command = unitview::ipc::findCommand(type);
        try {
            unitview::ipc::Reply reply =
                command->handler(session_, unitview::ipc::Payload(std::move(data)));
            isLoaded_ = true;
            if (!reply.frame.empty()) reply.data["frame"] = reply.frame;
            return reply.data;
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    /// A request for time ends early on a slow machine.
    json pass(json data) {
        json events = json::array();
        for (std::int64_t left = data["ticks"];;) {
            data["ticks"] = left;
            json reply = ask("map-tick", data);
            left -= reply["ticksDone"].get<std::int64_t>();
            for (json& event : reply["events"]) events.push_back(std::move(event));
            if (reply["stopped"] == "time" && left > 0) continue;
            reply["events"] = std::move(events);
            reply.erase("ticksDone");
            return reply;
        }
    }

private:
    UnitViewSession session_;
    bool forgets_;
    bool isLoaded_ = false;
};

/// Both sessions of an input, which are asked the same.
class Battles {
public:
    Battles() { require(one_.isLoaded() == other_.isLoaded(), "both load the map"); }

    bool isLoaded() const { return one_.isLoaded(); }
    json ask(std::string_view type, const json& data) {
        return same(one_.ask(type, data), other_.ask(type, data));
    }
    json pass(const json& data) { return same(one_.pass(data), other_.pass(data)); }

private:
    static json same(json a, const json& b) {
        if (a != b) std::fprintf(stderr, "%s\n%s\n", a.dump().c_str(), b.dump().c_str());
        require(a == b, "threads and what is derived change nothing");
        return a;
    }

    Battle one_{1, false};
    Battle other_{3, true};
};

const std::string& anyUnit(Choices& choices) {
    return sampleGame().units[choices.below(sampleGame().units.size())];
}

class Requests {
public:
    Requests(Choices& choices, io::TntSize size) : choices_(choices), size_(size) {}

    void send() {
        if (!battles_.isLoaded()) return;
        for (int first = 0; first < 4; ++first) spawn();
        for (std::size_t sent = 0; !choices_.isEmpty() && sent < kMostRequests; ++sent)
            switch (choices_.below(8)) {
                case 0:
                case 1:
                    spawn();
                    break;
                case 2:
                case 3:
                case 4:
                    order();
                    break;
                case 5:
                    look();
                    break;
                default:
                    pass();
            }
        pass();
        look();
    }

private:
    void spawn() {
        if (unitCount_ >= kMostUnits) return;
        json data = {{"x", place(size_.width)}, {"z", place(size_.height)}};
        const std::uint8_t flags = choices_.byte();
        if ((flags & 15) == 15) {
            data["feature"] = sampleGame().features[choices_.below(sampleGame().features.size())];
        } else {
            data["unit"] = anyUnit(choices_);
            data["player"] = 1 + choices_.below(kPlayers);
            data["count"] = 1 + (flags & 3);
            if (flags & 16) data["buildFraction"] = choices_.byte() / 255.0;
            if (flags & 32) data["heading"] = choices_.byte() / 40.0;
            if (flags & 64) data["health"] = choices_.byte();
        }
        if (flags & 128) data["force"] = true;
        const json reply = battles_.ask("map-spawn", data);
        if (reply.contains("unitIds")) unitCount_ += reply["unitIds"].size();
    }

    /// Now and then one beyond the edge.
    double place(std::uint32_t cells) {
        return choices_.byte() * (cells * double{io::kTntCellSide} + 8) / 256 - 4;
    }
    /// Now and then of nobody.
    std::size_t anyId() { return 1 + choices_.below(unitCount_ + 1); }

    void order() {
        json data;
        const std::size_t first = anyId();
        const std::size_t count = 1 + choices_.below(4);
        for (std::size_t id = first; id < first + count; ++id) data["unitIds"].push_back(id);
        const auto kind = static_cast<sim::OrderKind>(
            choices_.below(static_cast<std::size_t>(sim::OrderKind::remove) + 1));
        addAim(data, sim::orderRule(kind));
        addOptions(data);
        data["order"] = unitview::ipc::orderWord(kind);
        if (kind == sim::OrderKind::build) data["unit"] = anyUnit(choices_);
        if (kind == sim::OrderKind::script) addScript(data);
        battles_.ask("map-move", data);
    }

    /// What orders of the kind need, mostly.
    void addAim(json& data, const sim::OrderRule& rule) {
        const std::uint8_t flags = choices_.byte();
        const bool isSloppy = flags >= 0xF0;
        if (rule.takesPlace() != isSloppy) {
            data["x"] = place(size_.width);
            data["z"] = place(size_.height);
        }
        const bool hasChoice = rule.takesPlace() && (flags & 1);
        if (rule.takesTarget() && !hasChoice) data["target"] = anyId();
        if (flags & 2) data["targetFeature"] = choices_.byte();
        if (flags & 4) data["slot"] = choices_.below(3);
    }

    void addOptions(json& data) {
        const std::uint8_t flags = choices_.byte();
        if (flags & 1) data["queue"] = true;
        data["value"] = (flags >> 1 & 3) * (flags & 8 ? 300 : 1);
        if (flags & 16) data["unrestricted"] = true;
        if (flags & 32) data["heading"] = choices_.byte() / 40.0;
        if (flags & 64) data["force"] = true;
        if (flags & 128) data["count"] = choices_.below(4);
    }

    void addScript(json& data) {
        constexpr const char* kScripts[] = {"Create", "StartMoving",   "AimPrimary",
                                            "Killed", "StartBuilding", "SweetSpot"};
        data["name"] = kScripts[choices_.below(std::size(kScripts))];
        data["args"] = {choices_.word(), choices_.byte()};
    }

    void look() {
        json data = {{"pieces", choices_.flag()}, {"features", true}};
        if (choices_.flag()) data["player"] = 1 + choices_.below(kPlayers);
        const json reply = battles_.ask("map-snapshot", data);
        for (const json& unit : reply["units"]) checkUnit(unit);
        battles_.ask("map-heightmap",
                     {{"plane", "sight"}, {"player", 1 + choices_.below(kPlayers)}});
        battles_.ask("map-features", json::object());
    }

    void pass() {
        const std::int64_t ticks =
            std::min<std::int64_t>(1 + static_cast<std::int64_t>(choices_.below(60)), ticksLeft_);
        if (ticks == 0) return;
        ticksLeft_ -= ticks;
        json data = {{"ticks", ticks}};
        if (choices_.below(8) == 7)
            data["stocks"] = {{{"player", 1 + choices_.below(kPlayers)},
                               {"metal", choices_.byte() * 10},
                               {"energy", choices_.byte()}}};
        const json reply = battles_.pass(data);
        unitCount_ = std::max(unitCount_, reply["unitCount"].get<std::size_t>());
        for (const json& player : reply["players"])
            for (const char* const stock : {"metal", "energy"})
                require(player[stock].is_number() && player[stock] >= 0.0,
                        "nobody has less than nothing");
    }

    static void checkUnit(const json& unit) {
        for (const char* const member :
             {"x", "y", "z", "heading", "pitch", "roll", "speed", "health", "buildFraction"})
            require(unit[member].is_number(), "what units have are numbers");
        require(unit["health"] <= unit["maxHealth"], "nobody has more health than there is");
        require(unit["buildFraction"] >= 0.0 && unit["buildFraction"] <= 1.0,
                "a fraction is a fraction");
    }

    Choices& choices_;
    io::TntSize size_;
    Battles battles_;
    std::size_t unitCount_ = 1;
    std::int64_t ticksLeft_ = kMostTicks;
};

}  // namespace

void run(io::ByteView input) {
    sampleGame();
    fs::remove_all(modFolder());
    Choices choices(input);
    writeDefinitions(choices);
    const io::TntSize size = writeGround(choices);
    Requests(choices, size).send();
}

}  // namespace orb::fuzz
