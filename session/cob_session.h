#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cob/cob_debugger.h"
#include "cob/cob_instance.h"
#include "session/loaded_unit.h"
#include "session/sim_mode.h"

namespace orb::unitview {

/// The running script of the loaded unit: its own or a temporary one in its place, under the
/// debugger. Breakpoints, line spans and the tick counter outlive units; a pause does not outlive
/// the instance.
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

    /// The instance, or null.
    CobInstance* instance() { return instance_.get(); }
    CobInstance& requireInstance() { return debugger_.instance(); }
    CobDebugger& debugger() { return debugger_; }

    /// Model piece names in model order: the pieces that the instance's records belong to.
    const std::vector<std::string>& modelPieces() const { return modelPieces_; }
    /// Names the same pieces anew. The instance runs on; scripts find pieces by these names when it
    /// is built the next time.
    void setModelPieces(std::vector<std::string> names) { modelPieces_ = std::move(names); }

    /// Static stands still; ground and water let the unit's walk preview move on with every tick.
    void setSimMode(SimMode mode) { debugger_.walkPreview.enabled = mode != SimMode::still; }

private:
    void build(const std::shared_ptr<const io::CobFile>& file);

    std::string unitName_;
    std::shared_ptr<const io::CobFile> unitCob_;
    std::vector<std::string> modelPieces_;
    std::unique_ptr<CobInstance> instance_;
    CobDebugger debugger_;
};

}  // namespace orb::unitview
