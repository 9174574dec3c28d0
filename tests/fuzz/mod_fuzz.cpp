#include <fstream>
#include <iterator>
#include <set>

#include <nlohmann/json.hpp>

#include "checked_replies.h"
#include "fuzzing.h"
#include "session/unit_view_session.h"

// A stranger's mod over the sample game: each file a line with its path, its length in two bytes
// and its content. Every unit of it is looked at in all the ways that there are, put on a map,
// packed, and the pack looked at as the game would meet it.

namespace orb::fuzz {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::size_t kMostFiles = 24;
constexpr std::size_t kMostUnits = 2;

fs::path modFolder() {
    return scratchFolder() / "mod";
}

/// Below the mod's folder, whatever the line says; empty for no file's name.
fs::path confined(std::string_view line) {
    fs::path path;
    for (const fs::path& part : fs::path(line).relative_path())
        if (part != ".." && part != "." && part.native().size() < 100) path /= part;
    return path.has_filename() ? path : fs::path();
}

/// Writes the files; returns the stems of the unit definitions.
std::set<std::string> writeMod(Choices& choices) {
    std::set<std::string> units;
    for (std::size_t files = 0; !choices.isEmpty() && files < kMostFiles; ++files) {
        const std::string line(choices.until('\n'));
        const std::size_t high = choices.byte();
        const io::ByteView content = choices.take(high << 8 | choices.byte());
        const fs::path path = confined(line.substr(0, line.find('\0')));
        if (path.empty()) continue;
        const fs::path file = modFolder() / path;
        std::error_code error;
        fs::create_directories(file.parent_path(), error);
        if (error || fs::is_directory(file)) continue;
        std::ofstream(file, std::ios::binary) << io::asText(content);
        if (path.extension() == ".fbi" && path.parent_path() == "units")
            units.insert(path.stem().string());
    }
    return units;
}

class Lines {
public:
    void ask(const char* type, json data = json::object()) {
        text_ += json{{"type", type}, {"seq", ++count_}, {"data", std::move(data)}}.dump(
                     -1, ' ', false, json::error_handler_t::replace) +
                 '\n';
    }
    const std::string& text() const { return text_; }
    std::size_t count() const { return count_; }

private:
    std::string text_;
    std::size_t count_ = 0;
};

void lookAt(Lines& lines, const std::string& unit) {
    const json named = {{"name", unit}};
    for (const char* const type :
         {"unit-health", "unit-deps", "unit-textures", "get-unit-glb", "resolve-unit-source",
          "fbi-raw", "load-unit", "modernizer-preview", "cob-get-unit-bos", "cob-disassemble",
          "cob-inspect", "get-unit-buildpic", "list-unit-buildpic-sources", "get-unit-orb-buildpic",
          "model-get-unit-summary", "model-duplicate-faces"})
        lines.ask(type, named);
    lines.ask("cob-start", {{"name", "Create"}});
    lines.ask("cob-tick", {{"ticks", 40}});
    lines.ask("cob-source-compare");
    lines.ask("model-apply-fix", {{"kind", "remove-degenerate"}});
    lines.ask("save-unit", {{"values", {{"MaxDamage", 7}}}, {"allowBackupCreation", true}});
    lines.ask("map-spawn", {{"unit", unit}, {"x", 300}, {"z", 300}, {"force", true}});
    lines.ask(
        "map-spawn",
        {{"unit", unit}, {"x", 400}, {"z", 300}, {"player", 2}, {"order", {{"order", "kill"}}}});
    const std::string pack = (scratchFolder() / "pack.ufo").string();
    lines.ask("export-min-mod-pack",
              {{"units", {unit}}, {"recursive", true}, {"destination", pack}, {"overwrite", true}});
    lines.ask("validate-mod-pack", {{"path", pack}});
    lines.ask("unit-clone", {{"name", unit}, {"newName", "FUZZCOPY"}, {"overwrite", true}});
    lines.ask("create-corpse-stub", {{"parentUnit", unit}, {"modPath", modFolder().string()}});
}

}  // namespace

void run(io::ByteView input) {
    fs::remove_all(modFolder());
    fs::create_directories(modFolder());
    Choices choices(input);
    const std::set<std::string> units = writeMod(choices);
    const char* const data = std::getenv("ORB_FUZZ_DATA");
    require(data != nullptr, "ORB_FUZZ_DATA names the sample data");

    unitview::UnitViewSession session;
    session.setDataRoots({.taDataPath = fs::path(data) / "game",
                          .modPaths = {modFolder()},
                          .mapsPath = fs::path(data) / "maps"});
    Lines lines;
    lines.ask("list-units", {{"report", true}});
    lines.ask("map-list");
    lines.ask("map-load", {{"name", "fenmere"}});
    std::size_t looked = 0;
    for (const std::string& unit : units)
        if (looked++ < kMostUnits) lookAt(lines, unit);
    lines.ask("conflict-scan");
    lines.ask("map-tick", {{"ticks", 20}});
    lines.ask("map-features");
    lines.ask("export-mod-pack",
              {{"destination", (scratchFolder() / "pack.ufo").string()}, {"overwrite", true}});
    lines.ask("validate-mod-pack", {{"path", (scratchFolder() / "pack.ufo").string()}});
    checkReplies(session, lines.text(), lines.count());
}

}  // namespace orb::fuzz
