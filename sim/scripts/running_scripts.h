#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "cob/unit_lifecycle.h"
#include "sim/scripts/script_deeds.h"
#include "sim/units/unit.h"

namespace orb::sim {

/// The running scripts of all units, by slot.
class RunningScripts {
public:
    RunningScripts();
    RunningScripts(const RunningScripts&) = delete;
    RunningScripts& operator=(const RunningScripts&) = delete;

    /// Null for a unit without a script.
    unitview::CobInstance* of(const Unit& unit) const {
        return unit.slot() < slots_.size() ? slots_[unit.slot()].instance : nullptr;
    }
    ScriptOutbox& outboxOf(const Unit& unit) { return *slots_[unit.slot()].outbox; }
    unitview::UnitLifecycle& lifecycle() { return lifecycle_; }

    /// Gives the unit an instance at rest whose Create, and Activate, run in the next tick; none,
    /// with a line in the log, for a unit without script or model. In place of the one it had.
    unitview::CobInstance* setUp(const Unit& unit, Tick now);
    void remove(const Unit& unit);

    /// The first tick after which its pieces were as they are now.
    Tick poseTick(const Unit& unit) const {
        return unit.slot() < slots_.size() ? slots_[unit.slot()].poseTick : 0;
    }
    /// Looks whether a tick has moved its pieces.
    void notePose(const Unit& unit, Tick now);

private:
    struct Slot {
        /// The lifecycle owns it.
        unitview::CobInstance* instance = nullptr;
        /// Stays where it is: the instance's callbacks write to it.
        std::unique_ptr<ScriptOutbox> outbox;
        /// For viewers; no state.
        std::uint64_t poseVersion = 0;
        Tick poseTick = 0;
    };

    /// By unit name, as the last unit of that name that was set up has it.
    std::map<std::string, std::shared_ptr<const io::CobFile>, std::less<>> files_;
    unitview::UnitLifecycle lifecycle_;
    std::vector<Slot> slots_;
};

}  // namespace orb::sim
