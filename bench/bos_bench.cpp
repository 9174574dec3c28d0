#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bos/compiler.h"
#include "bos/disassembler.h"
#include "bos/source_compare.h"

// How many lines of script source compile, and how many come out of the disassembler, in a second,
// against cutting the same text into lines and hashing each.
namespace {

using namespace orb::unitview::bos;
using orb::bench::require;

/// A large script as games have them: walk cycles, aiming, smoke. About 1,600 lines.
std::string workload() {
    std::string text = "// linear 163840, angular 182, arguments vm\n\npiece base";
    for (int i = 0; i < 30; ++i) text += fmt::format(", part{}", i);
    text += ";\n\nstatic-var moving, aiming, damage;\n\n";
    for (int script = 0; script < 20; ++script) {
        text += fmt::format("Walk{}(speed, part)\n{{\n\tvar step;\n\tstep = 0;\n", script);
        for (int i = 0; i < 12; ++i)
            text += fmt::format(
                "\tif (moving AND !aiming OR get HEALTH({0}) < {0} + 66)\n\t{{\n"
                "\t\tturn part{1} to x-axis <{0}.5> speed <{0}> * step / 10;\n"
                "\t\tmove part{1} to y-axis [{0}.25] - [1] now;\n"
                "\t\twait-for-turn part{1} around x-axis;\n\t}}\n",
                i, (script + i) % 30);
        text += "\tstart-script Walk0(step, 5);\n\treturn (step);\n}\n\n";
    }
    return text;
}

std::size_t hashLines(std::string_view text) {
    std::size_t sum = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        sum += std::hash<std::string_view>{}(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return sum;
}

}  // namespace

int main() {
    const std::string source = workload();
    const auto lines = static_cast<double>(std::count(source.begin(), source.end(), '\n'));
    const auto compile = [&] { return compileBos(source, "scripts/bench.bos", nullptr); };
    const BosCompilation compiled = compile();
    require(compiled.ok, "compile");
    const orb::io::CobFile& cob = compiled.code.cob;
    const BosDisassembly text = disassembleCob(cob);
    require(text.isExact && text.rawScripts.empty(), "disassemble");
    require(compareSource(cob, source, "", nullptr).isIdentical, "compare");

    const BosCompilation other =
        compileBos(source, "", nullptr,
                   {Scale(65536), Scale(200), std::nullopt, std::nullopt, ArgumentOrder::source});
    std::size_t hashes = 0;
    const auto timings = orb::bench::measure(
        {[&] { require(compile().ok, "compile"); },
         [&] { require(disassembleCob(cob).isExact, "text"); },
         [&] { require(compareSource(cob, source, "", nullptr).isIdentical, "same settings"); },
         [&] {
             require(!compareSource(other.code.cob, source, "", nullptr).isIdentical, "settings");
         },
         [&] { hashes += hashLines(source); }});
    require(hashes != 0, "hashes");
    std::size_t row = 0;
    for (const char* name : {"compile a script", "disassemble a script and check",
                             "compare, same settings", "compare, all settings"})
        orb::bench::reportRate(fmt::format("{} / hash its lines", name), timings[row++], lines,
                               "lines/s", timings.back());
    return 0;
}
