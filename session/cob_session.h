#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cob/cob_debugger.h"
#include "cob/cob_instance.h"
#include "session/loaded_unit.h"
#include "session/sim_mode.h"

namespace orb::unitview {

/// Values to write into a running script.
struct CobWrites {
    struct Local {
        std::uint32_t thread = 0;  ///< its id
        std::uint32_t index = 0;   ///< in the innermost frame
        std::int32_t value = 0;
    };
    /// Index and value.
    std::vector<std::pair<std::uint32_t, std::int32_t>> statics;
    std::vector<Local> locals;
    /// Id and value.
    std::vector<std::pair<std::int32_t, std::int32_t>> unitValues;
};

/// Unit values that can be set at a time; scripts know a few dozen.
inline constexpr std::size_t kMaxSetUnitValues = 1024;

/// The running script of the loaded unit: its own or a temporary one in its place, under the
/// debugger. Breakpoints, line spans, the tick counter and the numbers of trace entries outlive
/// units; a pause does not outlive the instance.
class CobSession {
public:
    /// Builds the unit's instance with every piece at rest and starts its Create script; none for a
    /// unit without a script.
    void setUnit(const LoadedUnit& unit);
    /// Drops the instance.
    void clear();

    // The operations below throw std::runtime_error "no unit loaded" without an instance.

    /// Rebuilds the instance from the unit's own script, which ends a temporary one.
    void reset();
    /// Replaces the instance by one of another script file. Throws std::runtime_error "failed to
    /// load temporary COB: …", and then nothing is replaced.
    void loadTemporary(io::ByteView file);

    /// Writes all of it. Throws std::runtime_error "no thread 7", "no static variable 9: …" and the
    /// like, and then nothing is written.
    void write(const CobWrites& writes);

    /// The instance, or null.
    CobInstance* instance() { return instance_.get(); }
    CobInstance& requireInstance() { return debugger_.instance(); }
    CobDebugger& debugger() { return debugger_; }

    /// What scripts read as unit values, until the next unit; others read 0.
    const std::map<std::int32_t, std::int32_t>& unitValues() const { return unitValues_; }

    /// Sets breakpoints of the script that runs, with what is known of its lines.
    void setBreakpoints(std::set<std::uint32_t> offsets, CobLineMap lines);
    /// The lines set with the breakpoints; none where they are those of a temporary script and the
    /// unit's own runs again.
    const CobLineMap& setLines() const;

    /// The unit's own script runs, no temporary one.
    bool runsUnitScript() const { return instance_ && &instance_->file() == unitCob_.get(); }
    /// The lines of the unit's own script: none until `findPause` needed them for the first time.
    std::optional<CobLineMap> unitLines;

    /// Model piece names in model order: the pieces that the instance's records belong to.
    const std::vector<std::string>& modelPieces() const { return modelPieces_; }
    /// Names the same pieces anew. The instance runs on; scripts find pieces by these names when it
    /// is built the next time.
    void setModelPieces(std::vector<std::string> names) { modelPieces_ = std::move(names); }

    /// Static stands still; ground and water let the unit's walk preview move on with every tick.
    void setSimMode(SimMode mode) { debugger_.walkPreview.enabled = mode != SimMode::still; }

private:
    void build(const std::shared_ptr<const io::CobFile>& file);
    void check(const CobWrites& writes) const;

    std::string unitName_;
    std::shared_ptr<const io::CobFile> unitCob_;
    std::vector<std::string> modelPieces_;
    std::unique_ptr<CobInstance> instance_;
    std::map<std::int32_t, std::int32_t> unitValues_;
    std::uint64_t lastTraceSeq_ = 0;
    bool hasTemporaryLines_ = false;
    CobDebugger debugger_;
};

}  // namespace orb::unitview
