#include <algorithm>
#include <memory>

#include "cob/cob_debugger.h"
#include "cob/cob_instruction_trace.h"
#include "cob/cob_vm.h"
#include "cob_input.h"

// The script interpreter under its debugger: what a host does in the first bytes, then the script.

namespace orb::fuzz {
namespace {

using namespace unitview;

constexpr std::size_t kHostBytes = 32;
/// Slices of threads in all; each may take thousands of instructions.
constexpr std::size_t kMaxSlices = 64;
constexpr std::size_t kModelPieces = 4;

class Host {
public:
    explicit Host(std::shared_ptr<const io::CobFile> file)
        : instance_(std::move(file), kModelPieces), startsThreads_(holdsStarts(instance_.file())) {
        instance_.cobPieceOrder =
            matchPieces(instance_.file(), std::vector<std::string>{"base", "x", "arm", "gun"});
        instance_.callbacks.getUnitValue = [](std::int32_t id) { return id ^ 7; };
        instance_.callbacks.emitSfx = [this](std::int32_t type, std::int32_t piece) {
            lastEffect_ = type ^ piece;
        };
        debugger_.attach(&instance_);
    }
    ~Host() { debugger_.attach(nullptr); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void obey(Choices& choices) {
        while (!choices.isEmpty() && slices_ < kMaxSlices) {
            obeyNext(choices);
            check();
        }
        describeTrace();
    }

private:
    static bool holdsStarts(const io::CobFile& file) {
        return std::ranges::any_of(file.code,
                                   [](std::uint32_t word) { return opOf(word) == Op::start; });
    }

    void obeyNext(Choices& choices) {
        switch (const std::uint8_t command = choices.byte(); command % 10) {
            case 0:
            case 1:
                return tick(1 + choices.below(4));
            case 2:
            case 3:
                return start(choices);
            case 4:
                return setBreakpoints(choices);
            case 5:
                return debugger_.clearBreakpoints();
            case 6:
                return resume(command < 192 ? CobResumeMode::stepLine : CobResumeMode::run);
            case 7:
                ++slices_;
                return debugger_.resume(CobResumeMode::stepInstruction);
            case 8:
                if (command < 128) return debugger_.stopAll();
                instance_.trace.clear();
                return instance_.trace.enable(choices.flag());
            default:
                return call(choices);
        }
    }

    /// Up to 600 ticks. Those of a few threads are enough; those of 256 would take seconds.
    void resume(CobResumeMode mode) {
        if (startsThreads_ || instance_.threads.size() > 2) return tick(2);
        slices_ += kMaxSlices / 2;
        debugger_.resume(mode);
    }

    void tick(std::size_t count) {
        for (; count > 0 && slices_ < kMaxSlices; --count) {
            slices_ += 1 + instance_.threads.size();
            debugger_.advanceTicks(1);
        }
    }

    /// Only such a script is sure to count as running: of several with one entry the first does.
    bool hasCodeOfItsOwn(const std::string& name) const {
        const auto& scripts = instance_.file().scripts;
        const int index = instance_.file().findScript(name);
        if (index < 0) return false;
        const std::uint32_t entry = scripts[static_cast<std::size_t>(index)].entry;
        return entry < instance_.file().code.size() &&
               std::ranges::count(scripts, entry, &io::CobFile::Script::entry) == 1;
    }

    const std::string& scriptName(Choices& choices) const {
        const auto& scripts = instance_.file().scripts;
        static const std::string none;
        return scripts.empty() ? none : scripts[choices.below(scripts.size())].name;
    }

    void start(Choices& choices) {
        const std::string& name = scriptName(choices);
        const std::int32_t arguments[] = {choices.byte() - 128, 1 << 30, -1};
        accepts([&] {
            debugger_.startScript(name, std::span(arguments).first(choices.below(4)));
            if (hasCodeOfItsOwn(name))
                require(debugger_.isScriptRunning(name), "a started script runs");
        });
    }

    void setBreakpoints(Choices& choices) {
        breakpoints_.clear();
        std::vector<CobLineSpan> lines;
        for (std::size_t i = choices.below(5); i > 0; --i) {
            const std::uint32_t offset = choices.byte();
            breakpoints_.insert(offset);
            lines.push_back({offset, offset + choices.byte(), choices.byte()});
        }
        debugger_.setBreakpoints(breakpoints_, CobLineMap(std::move(lines)));
    }

    void call(Choices& choices) {
        std::int32_t parameters[] = {choices.byte(), 2, 3};
        slices_ += 2;
        CobVm(instance_).call(scriptName(choices), parameters, 4 * choices.byte());
    }

    void check() const {
        require(instance_.threads.size() <= kMaxConcurrentThreadsPerUnit + kHostBytes,
                "threads are limited");
        for (const auto& thread : instance_.threads) {
            require(thread->stack.words().size() <= kMaxStackWords, "stacks are limited");
            require(thread->returnPcs.size() <= kMaxCallDepth &&
                        thread->returnPcs.size() + 1 == thread->frames.count(),
                    "every call has a frame");
        }
        require(instance_.pieces.size() == kModelPieces &&
                    instance_.previousPieces.size() == kModelPieces &&
                    instance_.trace.size() <= kMaxTraceEntries,
                "nothing else grows");
        if (debugger_.isPaused())
            require(debugger_.pausedOffset() < instance_.file().code.size(),
                    "a pause is in the code");
    }

    void describeTrace() const {
        const std::size_t count = std::min<std::size_t>(instance_.trace.size(), 64);
        for (std::size_t i = 0; i < count; ++i)
            require(!describe(instance_.trace[i], instance_.file()).event.empty(),
                    "a trace has words");
        for (const auto& thread : instance_.threads) describeNext(*thread);
    }

    void describeNext(const CobThread& thread) const {
        const std::vector<std::uint32_t>& code = instance_.file().code;
        if (thread.pc >= code.size()) return;
        const Op op = opOf(code[thread.pc]);
        if (code.size() - thread.pc < opcodeRow(op).length()) return;
        const std::string line =
            instructionTraceLine(instance_, thread, op, code.data() + thread.pc + 1);
        require(line.size() < 4096, "a line about an instruction is short");
    }

    CobInstance instance_;
    CobDebugger debugger_;
    std::set<std::uint32_t> breakpoints_;
    bool startsThreads_;
    std::size_t slices_ = 0;
    std::int32_t lastEffect_ = 0;
};

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    Choices commands(choices.take(kHostBytes));
    accepts([&] {
        const auto file = std::make_shared<const io::CobFile>(cobFrom(choices.rest()));
        Host(file).obey(commands);
    });
}

}  // namespace orb::fuzz
