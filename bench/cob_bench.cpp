#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <vector>

#include <fmt/format.h>

#include "bench/figures.h"
#include "cob/cob_debugger.h"
#include "cob/cob_vm.h"

// How fast unit scripts run: the interpreter against a bare switch over the same words, and the
// cost of a tick of many idle units.
namespace {

using namespace orb::unitview;
using orb::bench::require;
using Code = std::vector<std::uint32_t>;

constexpr std::int32_t kOuterLoops = 3000;

std::uint32_t w(Op op) {
    return opcodeRow(op).value;
}

/// Local 0 counts down from kOuterLoops; each turn mixes local 1, compares, branches and every
/// eighth turn stores a static: the instruction mix of a script's decision code.
Code workload() {
    Code code;
    const auto emit = [&code](std::initializer_list<std::uint32_t> words) {
        code.insert(code.end(), words);
    };
    emit({w(Op::createLocal), w(Op::createLocal)});
    emit({w(Op::pushConst), kOuterLoops, w(Op::popLocal), 0});
    const auto loop = static_cast<std::uint32_t>(code.size());
    emit({w(Op::pushLocal), 1, w(Op::pushConst), 1103515245, w(Op::mul), w(Op::pushConst), 12345,
          w(Op::add), w(Op::popLocal), 1});
    emit({w(Op::pushLocal), 1, w(Op::pushConst), 255, w(Op::bitAnd), w(Op::pushLocal), 0,
          w(Op::less), w(Op::jumpIfZero), 0});
    const std::size_t toElse = code.size() - 1;
    emit({w(Op::pushLocal), 1, w(Op::pushLocal), 0, w(Op::bitXor), w(Op::popLocal), 1});
    code[toElse] = static_cast<std::uint32_t>(code.size());
    emit({w(Op::pushLocal), 0, w(Op::pushConst), 7, w(Op::bitAnd), w(Op::logicalNot),
          w(Op::jumpIfZero), 0});
    const std::size_t toNext = code.size() - 1;
    emit({w(Op::pushStatic), 0, w(Op::pushLocal), 1, w(Op::add), w(Op::popStatic), 0});
    code[toNext] = static_cast<std::uint32_t>(code.size());
    emit({w(Op::pushLocal), 0, w(Op::pushConst), 1, w(Op::sub), w(Op::popLocal), 0});
    emit({w(Op::pushLocal), 0, w(Op::jumpIfZero), 0, w(Op::jump), loop});
    code[code.size() - 3] = static_cast<std::uint32_t>(code.size());
    emit({w(Op::pushLocal), 1, w(Op::ret)});
    return code;
}

struct BareResult {
    std::uint32_t value = 0;
    std::int64_t instructions = 0;
};

/// The least that can execute this code: no checks of the stack, of indices or of the pc.
BareResult runBare(const Code& code) {
    std::uint32_t stack[64];
    std::uint32_t locals[8] = {};
    std::uint32_t statics[8] = {};
    std::uint32_t* top = stack;
    const std::uint32_t* pc = code.data();
    BareResult result;
    for (;;) {
        ++result.instructions;
        switch (*pc++) {
            case 0x10021001:
                *top++ = *pc++;
                break;
            case 0x10021002:
                *top++ = locals[*pc++];
                break;
            case 0x10021004:
                *top++ = statics[*pc++];
                break;
            case 0x10022000:
                break;
            case 0x10023002:
                locals[*pc++] = *--top;
                break;
            case 0x10023004:
                statics[*pc++] = *--top;
                break;
            case 0x10031000:
                --top;
                top[-1] += *top;
                break;
            case 0x10032000:
                --top;
                top[-1] -= *top;
                break;
            case 0x10033000:
                --top;
                top[-1] *= *top;
                break;
            case 0x10035000:
                --top;
                top[-1] &= *top;
                break;
            case 0x10037000:
                --top;
                top[-1] ^= *top;
                break;
            case 0x10051000:
                --top;
                top[-1] = static_cast<std::int32_t>(top[-1]) < static_cast<std::int32_t>(*top);
                break;
            case 0x1005A000:
                top[-1] = top[-1] == 0;
                break;
            case 0x10064000:
                pc = code.data() + *pc;
                break;
            case 0x10066000:
                pc = *--top == 0 ? code.data() + *pc : pc + 1;
                break;
            case 0x10065000:
                result.value = *--top;
                return result;
            default:
                std::abort();
        }
    }
}

void benchInstructions() {
    auto file = std::make_shared<orb::io::CobFile>();
    file->code = workload();
    const auto neverReached = static_cast<std::uint32_t>(file->code.size());
    file->code.push_back(0);
    file->staticVarCount = 8;
    file->scripts = {{"Main", 0}};
    const BareResult bare = runBare(file->code);
    constexpr int kRuns = 100;
    const auto check = [&bare](std::uint32_t value) {
        require(value == bare.value, "a script computes something else");
    };
    const auto runScript = [&](CobInstance& instance) {
        for (int i = 0; i < kRuns; ++i) {
            instance.statics[0] = 0;
            const auto result = CobVm(instance).call("Main", {}, INT32_MAX);
            check(static_cast<std::uint32_t>(result.value()));
        }
    };
    CobInstance plain(file, 1);
    CobInstance debugged(file, 1);
    CobDebugger debugger;
    debugger.attach(&debugged);
    debugger.setBreakpoints({neverReached}, {});
    const auto timings =
        orb::bench::measure({[&] { runScript(plain); }, [&] { runScript(debugged); },
                             [&] {
                                 for (int i = 0; i < kRuns; ++i) check(runBare(file->code).value);
                             }});
    const auto count = static_cast<double>(bare.instructions * kRuns);
    orb::bench::reportRate("script instructions / bare switch loop", timings[0], count, "M/s",
                           timings[2]);
    orb::bench::reportRate("  with a breakpoint set / without", timings[1], count, "M/s",
                           timings[0]);
}

/// A unit at rest as units are: a radar dish spins, a damage-smoke loop sleeps and looks at the
/// unit's health, an idle loop sways a piece and waits for it.
std::shared_ptr<orb::io::CobFile> idleUnit() {
    auto file = std::make_shared<orb::io::CobFile>();
    auto& code = file->code;
    const auto script = [&](const char* name, std::initializer_list<std::uint32_t> words) {
        file->scripts.push_back({name, static_cast<std::uint32_t>(code.size())});
        code.insert(code.end(), words);
    };
    const auto push = w(Op::pushConst);
    script("Create", {push, 0, push, 3640, w(Op::spin), 1, 1, w(Op::start), 1, 0, w(Op::start), 2,
                      0, push, 0, w(Op::ret)});
    const auto smoke = static_cast<std::uint32_t>(code.size());
    script("Smoke", {push, 4, w(Op::getUnitValue), push, 66, w(Op::less), w(Op::popStatic), 0, push,
                     200, w(Op::sleep), w(Op::jump), smoke});
    const auto sway = static_cast<std::uint32_t>(code.size());
    script("Sway", {push,        3000, push, 2000,  w(Op::turn), 2, 0, w(Op::waitTurn), 2, 0,
                    push,        3000, push, 63536, w(Op::turn), 2, 0, w(Op::waitTurn), 2, 0,
                    w(Op::jump), sway});
    file->staticVarCount = 8;
    file->pieces.assign(16, "piece");
    return file;
}

/// Ticking many idle units; the baseline copies their piece records once, which a tick does anyway.
void benchIdleUnits() {
    constexpr std::size_t kUnits = 200;
    constexpr int kTicks = 300;
    const auto file = idleUnit();
    std::vector<std::unique_ptr<CobInstance>> units;
    for (std::size_t i = 0; i < kUnits; ++i) {
        units.push_back(std::make_unique<CobInstance>(file, file->pieces.size()));
        CobVm(*units.back()).startScript("Create");
    }
    std::int32_t tick = 0;
    const auto timings = orb::bench::measure({[&] {
                                                  for (int i = 0; i < kTicks; ++i, ++tick)
                                                      for (const auto& unit : units)
                                                          CobVm(*unit).tick(tick);
                                              },
                                              [&] {
                                                  for (int i = 0; i < kTicks; ++i)
                                                      for (const auto& unit : units)
                                                          unit->previousPieces = unit->pieces;
                                              }});
    for (const auto& unit : units) require(unit->threads.size() == 2, "a unit lost a thread");
    orb::bench::reportTime("tick 200 idle units / copy their records", timings[0], "us", timings[1],
                           kTicks);
}

std::unique_ptr<CobInstance> fullInstance(const std::vector<std::uint32_t>& code) {
    auto file = std::make_shared<orb::io::CobFile>();
    file->code = code;
    file->scripts = {{"Loop", 0}};
    auto instance = std::make_unique<CobInstance>(file, 1);
    while (instance->threads.size() < kMaxConcurrentThreadsPerUnit)
        CobVm(*instance).startScript("Loop");
    return instance;
}

/// Scripts that use up every slice in the most expensive ways known, against those that only jump.
void benchHostileScripts() {
    constexpr int kTicks = 5;
    const auto jumping = fullInstance({w(Op::jump), 0});
    const auto signalling = fullInstance(
        {w(Op::pushConst), 2, w(Op::signal), w(Op::pushConst), 4, w(Op::signal), w(Op::jump), 0});
    const auto pushing = fullInstance({w(Op::pushConst), 1, w(Op::pushConst), 1, w(Op::jump), 0});
    std::int32_t tick = 0;
    const auto ticks = [&tick](CobInstance& instance, int count) {
        for (int i = 0; i < count; ++i) CobVm(instance).tick(++tick);
    };
    ticks(*pushing, static_cast<int>(2 * kMaxStackWords / kSliceInstructions));
    const auto timings =
        orb::bench::measure({[&] { ticks(*signalling, kTicks); }, [&] { ticks(*pushing, kTicks); },
                             [&] { ticks(*jumping, kTicks); }});
    for (const auto* instance : {signalling.get(), pushing.get()})
        require(instance->threads.size() == kMaxConcurrentThreadsPerUnit, "a thread ended");
    orb::bench::reportTime("tick 256 threads that signal / that jump", timings[0], "ms", timings[2],
                           kTicks);
    orb::bench::reportTime("tick 256 threads on full stacks / that jump", timings[1], "ms",
                           timings[2], kTicks);
}

}  // namespace

int main() {
    const orb::bench::QuietLog quiet;
    benchInstructions();
    benchIdleUnits();
    benchHostileScripts();
    return 0;
}
