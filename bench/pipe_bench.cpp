// The program as a front end meets it, through pipes: how long it takes to start, to answer, to
// mount a game of 3,000 units, to send a model and to edit a unit in an archive of 50 MB, and how
// much memory mounting and editing take. Baselines of the same run: a child that echoes its input,
// starting a program that does nothing, reading the mounted bytes plainly, copying the archive.

#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "bench/child_process.h"
#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "bench/plain_read.h"

namespace {

namespace fs = std::filesystem;
using namespace orb::bench;

constexpr int kExchanges = 1000;

ChildProcess startEditor() {
    return ChildProcess({ORB_EDITOR_PROGRAM});
}

/// Asks and requires an answer of that type.
std::string ask(ChildProcess& editor, const std::string& line, std::string_view type) {
    std::string reply = editor.ask(line);
    require(reply.find(fmt::format(R"("type":"{}")", type)) != std::string::npos,
            fmt::format("not {}: {}", type, reply.substr(0, 300)));
    return reply;
}

std::string setDataRoots(const fs::path& game, const std::string& mods = "") {
    return fmt::format(
        R"({{"type":"set-data-roots","seq":1,"data":{{"taDataPath":"{}","modPaths":[{}]}}}})",
        game.string(), mods);
}

void benchStart() {
    const auto timings = measure({[] {
                                      auto editor = startEditor();
                                      ask(editor, R"({"type":"hello","seq":1})", "hello");
                                  },
                                  [] { runProcess({"true"}); }});
    reportTime("start, say hello and end / start true", timings[0], "ms", timings[1]);
}

void benchRoundTrip() {
    auto editor = startEditor();
    ChildProcess cat({"cat"});
    const std::string line = R"({"type":"ping","seq":1})";
    const auto timings = measure({[&] {
                                      for (int i = 0; i < kExchanges; ++i)
                                          ask(editor, line, "pong");
                                  },
                                  [&] {
                                      for (int i = 0; i < kExchanges; ++i)
                                          require(cat.ask(line) == line, "no echo");
                                  }});
    reportTime("a request's round trip / its echo", timings[0], "us", timings[1], kExchanges);
}

void benchLargeData() {
    const fs::path game = makeLargeDataRoot(dataFolder() / "large").game;
    const auto reads = listMountReadsOf(game);
    auto editor = startEditor();
    ChildProcess cat({"cat"});
    ask(editor, R"({"type":"hello","seq":1})", "hello");
    const double idle = editor.peakMegabytes();
    ask(editor, setDataRoots(game), "data-roots-set");
    report("memory of the program, 3000 units / bytes read", editor.peakMegabytes() - idle, "MB",
           static_cast<double>(byteCount(reads)) / 1e6);
    const auto mount = measure(
        {[&] { ask(editor, setDataRoots(game), "data-roots-set"); }, [&] { readPlainly(reads); }});
    reportTime("set-data-roots, 3000 units / plain read", mount[0], "ms", mount[1]);

    const std::string listUnits = R"({"type":"list-units","seq":1})";
    const std::string list = ask(editor, listUnits, "list-units");
    const auto listing = measure({[&] { editor.ask(listUnits); }, [&] { cat.echo(list); }});
    reportTime(fmt::format("list-units, {} KB / its echo", list.size() / 1024), listing[0], "ms",
               listing[1]);

    ask(editor, R"({"type":"load-unit","seq":1,"data":{"name":"UNIT0000"}})", "unit-loaded");
    require(editor.readLine().find("piece-transforms") != std::string::npos, "no event");
    const auto getModel = [&] {
        editor.ask(R"({"type":"get-unit-glb","seq":1})");
        return editor.readFrame();
    };
    const std::string model = getModel();
    const auto glb = measure({[&] { require(getModel() == model, "another model"); },
                              [&] { require(cat.echo(model) == model, "no echo"); }});
    reportTime(fmt::format("get-unit-glb, frame of {} KB / its echo", model.size() / 1024), glb[0],
               "ms", glb[1]);
}

void benchEditing() {
    const fs::path game = makeLargeDataRoot(dataFolder() / "one_archive", {30, 1, 50'000'000}).game;
    const fs::path scratch = dataFolder() / fmt::format("edited-{}", getpid());
    const fs::path archive = scratch / "mod.ufo";
    fs::create_directories(scratch);
    fs::copy_file(game / "data00.hpi", archive);
    const double megabytes = static_cast<double>(fs::file_size(archive)) / 1e6;

    auto editor = startEditor();
    ask(editor, setDataRoots(game, fmt::format("\"{}\"", scratch.string())), "data-roots-set");
    int health = 1000;
    const auto edit = [&] {
        const std::string reply =
            ask(editor,
                fmt::format(R"({{"type":"fbi-patch","seq":1,"data":{{"name":"UNIT0001",)"
                            R"("allowBackupCreation":true,"values":{{"MaxDamage":{}}}}}}})",
                            ++health),
                "fbi-patched");
        require(reply.find(R"("outcome":"ok")") != std::string::npos, reply);
    };
    const double before = editor.peakMegabytes();
    edit();
    report("memory while editing in an archive / its size", editor.peakMegabytes() - before, "MB",
           megabytes);
    const auto timings =
        measure({edit, [&] {
                     fs::copy_file(archive, scratch / "copy", fs::copy_options::overwrite_existing);
                 }});
    reportTime("edit a unit in an archive of 50 MB / copy it", timings[0], "ms", timings[1]);
    fs::remove_all(scratch);
}

}  // namespace

int main() {
    benchStart();
    benchRoundTrip();
    benchLargeData();
    benchEditing();
    return 0;
}
