#include "sim/scripts/running_scripts.h"

namespace orb::sim {

RunningScripts::RunningScripts()
    : lifecycle_([this](std::string_view name) {
          const auto found = files_.find(name);
          return found == files_.end() ? nullptr : found->second;
      }) {}

unitview::CobInstance* RunningScripts::setUp(const Unit& unit, Tick now) {
    const UnitType& type = *unit.type;
    remove(unit);
    files_[type.name] = type.script;
    if (slots_.size() <= unit.slot()) slots_.resize(unit.slot() + 1);
    Slot& slot = slots_[unit.slot()];
    slot.outbox = std::make_unique<ScriptOutbox>();
    slot.poseTick = now + 1;
    slot.instance =
        lifecycle_.setupUnit({type.name, static_cast<std::int32_t>(unit.id),
                              static_cast<float>(unit.buildFraction.toNumber()), unit.isActive},
                             &type.pieces);
    return slot.instance;
}

void RunningScripts::notePose(const Unit& unit, Tick now) {
    Slot& slot = slots_[unit.slot()];
    if (slot.poseVersion == slot.instance->poseVersion) return;
    slot.poseVersion = slot.instance->poseVersion;
    slot.poseTick = now + 1;
}

void RunningScripts::remove(const Unit& unit) {
    lifecycle_.removeUnit(static_cast<std::int32_t>(unit.id));
    if (unit.slot() < slots_.size()) slots_[unit.slot()] = {};
}

}  // namespace orb::sim
