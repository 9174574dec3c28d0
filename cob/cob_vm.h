#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "cob/cob_instance.h"

namespace orb::unitview {

/// Live plus pending threads of a unit at which a start instruction is dropped.
inline constexpr std::size_t kMaxConcurrentThreadsPerUnit = 256;
/// Instructions that a thread may execute in one tick.
inline constexpr std::int32_t kSliceInstructions = 4096;

/// Runs the scripts of one instance. It holds nothing but the reference, so it is made where it is
/// needed. Nothing here throws: missing operands read 0, bad indices are ignored, and an unknown
/// opcode is skipped and logged once per value.
class CobVm {
public:
    explicit CobVm(CobInstance& instance) : instance_(instance) {}

    /// One scheduler tick: animation, waking, a slice for every runnable thread. All threads
    /// together execute at most `budget` instructions; those that get none stay where they are and
    /// come first in the next tick.
    void tick(std::int32_t number, std::int64_t budget = std::numeric_limits<std::int64_t>::max());

    /// Executes at most `budget` instructions of a runnable thread; returns how many.
    std::int32_t runThread(CobThread& thread, std::int32_t budget);

    /// Calls a script and runs it to its end within the budget. Scripts return through their
    /// parameters too: the script's first locals are copied back. Nothing when the script is
    /// unknown or did not finish.
    std::optional<std::int32_t> call(std::string_view script, std::span<std::int32_t> parameters,
                                     std::int32_t budget);

    /// Starts a script as a new thread with signal mask 0 that runs in the next tick for the first
    /// time; local i is argument i. False when there is no such script.
    bool startScript(std::string_view name, std::span<const std::int32_t> arguments = {});
    /// The same for a script by its index, without a line in the log. With a `callId` the end of
    /// the thread is told in `CobInstance::endedCalls`.
    bool startScript(std::size_t script, std::span<const std::int32_t> arguments = {},
                     std::optional<std::uint32_t> callId = std::nullopt);

private:
    /// Why a thread stopped executing.
    enum class SliceEnd : std::uint8_t {
        spent,       ///< it executed as many instructions as it may
        breakpoint,  ///< it stands on an instruction that is not to be executed yet
        blocked,     ///< it sleeps, waits or is finished
        leftCode,    ///< its pc is beyond the code, or its instruction reached beyond
    };
    struct Slice {
        SliceEnd end;
        std::int32_t executed;
    };

    void animate();
    void wakeThreads();
    void runThreads(std::int64_t budget);
    bool giveTurns(std::size_t from, std::size_t to, std::int64_t& budget);
    Slice runSlice(CobThread& thread, std::int32_t budget);
    void removeFinishedThreads();
    bool isMotionDone(const CobThread& thread) const;
    bool stopsAt(std::uint32_t pc);

    CobInstance& instance_;
};

}  // namespace orb::unitview
