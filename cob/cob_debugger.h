#pragma once

#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cob/cob_instance.h"
#include "cob/cob_line_span.h"

namespace orb::unitview {

/// A line of script source; `file` is as in CobLineSpan.
struct CobSourceLine {
    std::uint32_t line = 0;
    std::uint32_t file = 0;

    bool operator==(const CobSourceLine&) const = default;
};

/// The source line of every code offset.
class CobLineMap {
public:
    CobLineMap() = default;
    /// Where spans overlap, the first one says the line; a span that ends before it begins is
    /// empty. `files` are the paths that the spans' files count.
    explicit CobLineMap(std::vector<CobLineSpan> spans, std::vector<std::string> files = {});

    /// As they were given.
    const std::vector<CobLineSpan>& spans() const { return spans_; }
    const std::vector<std::string>& files() const { return files_; }

    /// Line 0 for code without a line.
    CobSourceLine at(std::uint32_t pc) const { return std::prev(lines_.upper_bound(pc))->second; }
    /// The included file of a line; none for the source's own.
    const std::string* fileOf(const CobSourceLine& at) const {
        return at.file != 0 && at.file < files_.size() ? &files_[at.file] : nullptr;
    }

private:
    void paint(const CobLineSpan& span);

    /// Each line holds from its offset up to the next one.
    std::map<std::uint64_t, CobSourceLine> lines_{{0, {}}};
    std::vector<CobLineSpan> spans_;
    std::vector<std::string> files_;
};

/// How far a resume goes before it pauses by itself.
enum class CobResumeMode : std::uint8_t { run = 0, stepInstruction = 1, stepLine = 2 };

/// The stand-in for a moving unit: heading in radians, position on the ground plane, speed per
/// tick.
struct CobWalkPreview {
    bool enabled = false;
    float heading = 0;
    float x = 0;
    float z = 0;
    float speed = 0;
};

/// Runs one instance tick by tick, pauses it at breakpoints and steps it. Breakpoints, line spans
/// and the tick counter outlive the instance; a pause does not.
class CobDebugger {
public:
    CobDebugger() = default;
    CobDebugger(const CobDebugger&) = delete;  // the instance's hooks refer to the debugger
    CobDebugger& operator=(const CobDebugger&) = delete;

    /// Takes on a new instance (nullptr: none) without a pause and installs the hooks. The caller
    /// keeps ownership and attaches another one, or none, before destroying it.
    void attach(CobInstance* instance);

    void setBreakpoints(std::set<std::uint32_t> offsets, CobLineMap lines);
    void clearBreakpoints() { setBreakpoints({}, {}); }

    /// Runs up to `count` ticks, fewer when the instance pauses. Nothing happens without an
    /// instance, with a count below 1, or while paused.
    void advanceTicks(int count);

    // The operations below throw std::runtime_error "no unit loaded" without an instance.

    CobInstance& instance() const;
    /// Removes every thread; statics and poses stay.
    void stopAll();
    /// Throws std::runtime_error "script not found: " and the name.
    void startScript(std::string_view name, std::span<const std::int32_t> arguments);
    /// False for a script that the file does not hold.
    bool isScriptRunning(std::string_view name) const;
    /// Leaves a pause, executing the instruction under it, and runs on: one tick to step one
    /// instruction, else up to 600 ticks.
    void resume(CobResumeMode mode);

    bool isPaused() const { return paused_; }
    /// The pc of the thread that paused first.
    std::uint32_t pausedOffset() const { return pausedOffset_; }
    /// The lines that were set with the breakpoints.
    const CobLineMap& lines() const { return lines_; }
    /// The number of the next tick; it counts on across instances.
    std::uint32_t tickCounter() const { return tickCounter_; }

    CobWalkPreview walkPreview;

private:
    friend void cobInstallDebugHooks(CobInstance& instance, CobDebugger& debugger);

    bool shouldPause(std::uint32_t pc);
    void pauseAt(std::uint32_t pc);
    void limitQuestions();

    CobInstance* instance_ = nullptr;
    std::set<std::uint32_t> breakpoints_;
    CobLineMap lines_;
    bool paused_ = false;
    CobResumeMode mode_ = CobResumeMode::run;
    /// Where execution last paused: let through once.
    std::optional<std::uint32_t> skipOffset_;
    std::uint32_t pausedOffset_ = 0;
    CobSourceLine stepLine_;
    std::uint32_t tickCounter_ = 0;
};

/// Makes `instance` ask `debugger` before instructions and tell it where it stopped.
void cobInstallDebugHooks(CobInstance& instance, CobDebugger& debugger);

/// Moves a walk preview on by one tick.
void advanceWalkPreview(CobWalkPreview& walk);

}  // namespace orb::unitview
