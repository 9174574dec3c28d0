#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "cob/cob_code.h"
#include "cob/cob_thread.h"
#include "cob/cob_trace.h"
#include "cob/script_map.h"
#include "io/formats/cob_file.h"

namespace orb::unitview {

/// Statics that an instance allocates, whatever its file announces; statics beyond read 0.
inline constexpr std::uint32_t kMaxStaticVars = 65536;
/// In `cobPieceOrder`: the model has no piece of that name.
inline constexpr std::int32_t kNoPiece = -1;

/// What the host of an instance answers and hears; every one is optional. They run inside the
/// interpreter and must not remove threads of the instance.
struct CobCallbacks {
    /// Unit value of an id.
    std::function<std::int32_t(std::int32_t id)> getUnitValue;
    /// Unit value of an id with four arguments; where installed it goes before `getUnitValue`.
    std::function<std::int32_t(std::int32_t id, std::int32_t a1, std::int32_t a2, std::int32_t a3,
                               std::int32_t a4)>
        getOverride;
    /// Asked before an instruction is executed; true leaves the thread on it and ends its slice.
    /// `CobCode` says which offsets it is asked about.
    std::function<bool(std::uint32_t pc)> breakpointPredicate;
    std::function<void(std::uint32_t pc)> breakpointHit;
    std::function<void(std::int32_t id, std::int32_t value)> setUnitValue;
    /// A random integer in low..high.
    std::function<std::int32_t(std::int32_t low, std::int32_t high)> random;
    std::function<void(std::int32_t sfxType, std::int32_t modelPiece)> emitSfx;
    std::function<void(std::int32_t soundId)> playSound;
    std::function<void(std::int32_t modelPiece, std::int32_t flags)> explode;
    /// The piece is kNoPiece where the model lacks it; nobody knows what `third` is for.
    std::function<void(std::int32_t unit, std::int32_t modelPiece, std::int32_t third)> attachUnit;
    std::function<void(std::int32_t unit)> dropUnit;
};

/// How a thread ended that the host started with a number.
struct CobEndedCall {
    std::uint32_t callId = 0;
    /// What the script returned; 0 when it ran off the code with an empty stack.
    std::int32_t value = 0;
    /// A signal ended it before its time.
    bool wasSignalled = false;

    bool operator==(const CobEndedCall&) const = default;
};

/// One number per axis x, y, z.
using Axes = std::array<float, 3>;

/// Where a model piece is and how it moves: model units and radians, speeds per tick,
/// accelerations per tick per tick. A speed or acceleration of 0 means nothing is in progress.
struct CobPiece {
    Axes offset{};
    Axes angle{};
    Axes targetOffset{};
    Axes targetAngle{};
    Axes moveSpeed{};
    Axes turnSpeed{};
    Axes spinSpeed{};
    Axes spinTarget{};
    Axes spinAcceleration{};
    std::uint8_t visible = 1;

    bool operator==(const CobPiece&) const = default;
};

/// The running script of one unit: its statics, threads, piece records and trace. It is only data;
/// `CobVm` makes it run. Not safe to use from several threads at a time.
class CobInstance {
public:
    /// Every piece at rest, no thread, the identity as piece order. The instance traces each
    /// instruction when ORB_TRACE_COB_UNITS lists `unitName`.
    CobInstance(std::shared_ptr<const io::CobFile> file, std::size_t modelPieceCount,
                std::string_view unitName = {});
    CobInstance(const CobInstance&) = delete;
    CobInstance& operator=(const CobInstance&) = delete;

    const io::CobFile& file() const { return *file_; }
    const std::shared_ptr<const io::CobFile>& sharedFile() const { return file_; }

    /// Model index of a COB piece; the index itself where `cobPieceOrder` does not hold it. The
    /// result may lie outside `pieces`.
    std::uint32_t modelPieceIndex(std::uint32_t cobPiece) const {
        return cobPiece < cobPieceOrder.size() ? static_cast<std::uint32_t>(cobPieceOrder[cobPiece])
                                               : cobPiece;
    }

    /// True when a thread that is not finished is inside the script or will return into it.
    bool isScriptRunning(std::size_t script) const;
    /// The name of the script at `pc` as `shownName` cuts it, empty outside all scripts.
    std::string_view scriptNameAt(std::uint32_t pc) const;

    /// A new thread at a script's entry whose first frame holds `locals`; in no list yet.
    std::unique_ptr<CobThread> newThread(std::size_t script, std::span<const std::int32_t> locals);

    CobCallbacks callbacks;
    /// Prints every instruction to standard error before it is executed.
    bool traceInstructions = false;
    /// The warning about too many threads was given.
    bool threadLimitWarned = false;
    /// One record per model piece, and the records as they were when the current tick began.
    std::vector<CobPiece> pieces;
    std::vector<CobPiece> previousPieces;
    /// Live threads in the order of their birth, and those started during the current slice.
    std::vector<std::unique_ptr<CobThread>> threads;
    std::vector<std::unique_ptr<CobThread>> pending;
    /// The calls that ended since the host last emptied the list, in the order of their birth
    /// within a tick.
    std::vector<CobEndedCall> endedCalls;
    /// Id of the thread that the last tick's budget kept from its turn, 0 for none.
    std::uint32_t nextTurn = 0;
    /// COB piece index to model piece index, or kNoPiece.
    std::vector<std::int32_t> cobPieceOrder;
    /// Opcode words already reported as unknown.
    std::unordered_set<std::uint32_t> unknownOpcodes;
    std::int32_t tick = 0;
    float ticksPerSecond = 30.0F;
    /// Grows whenever what a viewer would see may have changed: by one for a tick that moved
    /// something, by one for each show, hide, explode, move-now and turn-now.
    std::uint64_t poseVersion = 0;
    std::vector<std::int32_t> statics;
    CobTrace trace;
    CobCode code;

private:
    std::shared_ptr<const io::CobFile> file_;
    ScriptMap scriptMap_;
    std::uint32_t nextThreadId_ = 0;
};

/// The `cobPieceOrder` for a model: COB pieces are found by name in any case.
std::vector<std::int32_t> matchPieces(const io::CobFile& file,
                                      std::span<const std::string> modelPieces);

/// True when `unitName` is in a list separated by commas, semicolons and colons, in any case.
bool listsUnit(std::string_view list, std::string_view unitName);

}  // namespace orb::unitview
