#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "bos/compiler.h"
#include "bos/disassembler.h"
#include "bos/source_compare.h"

// How many lines of script source compile, and how many come out of the disassembler, in a second,
// against cutting the same text into lines and hashing each. Prints "name  lines/s  baseline
// ratio".
namespace {

using namespace orb::unitview::bos;

constexpr int kRounds = 7;

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

/// Seconds of the fastest of some rounds; slower ones were disturbed.
double secondsOf(const std::function<void()>& work) {
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    return best;
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

void require(bool condition, const char* what) {
    if (condition) return;
    fmt::print(stderr, "wrong result: {}\n", what);
    std::exit(1);
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

    constexpr int kHashings = 50;
    volatile std::size_t sink = 0;
    const double baseline = lines * kHashings / secondsOf([&] {
                                for (int i = 0; i < kHashings; ++i) sink = sink + hashLines(source);
                            });
    const auto report = [&](std::string_view name, const std::function<void()>& work) {
        const double rate = lines / secondsOf(work);
        fmt::print("{:<24} {:>12.0f} {:>14.0f} {:>8.4f}\n", name, rate, baseline, rate / baseline);
    };
    fmt::print("{} lines, {} bytes, {} code words\n", lines, source.size(), cob.code.size());
    fmt::print("{:<24} {:>12} {:>14} {:>8}\n", "bos", "lines/s", "split+hash/s", "ratio");
    report("compile", [&] { require(compile().ok, "compile"); });
    report("disassemble and check", [&] { require(disassembleCob(cob).isExact, "text"); });
    report("compare, same settings",
           [&] { require(compareSource(cob, source, "", nullptr).isIdentical, "compare"); });
    const BosCompilation other =
        compileBos(source, "", nullptr,
                   {Scale(65536), Scale(200), std::nullopt, std::nullopt, ArgumentOrder::source});
    report("compare, all settings", [&] {
        require(!compareSource(other.code.cob, source, "", nullptr).isIdentical, "compare");
    });
    return 0;
}
