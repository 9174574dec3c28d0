#include "cob/unit_lifecycle.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "cob/cob_vm.h"
#include "cob/known_scripts.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

/// Instructions that a query or Killed may take.
constexpr std::int32_t kCallBudget = 1000;
constexpr std::int32_t kNoResult = -1;

const WeaponScript* scriptOf(const WeaponScripts& scripts, int slot) {
    return slot >= 0 && slot < static_cast<int>(scripts.size())
               ? &scripts.at(static_cast<std::size_t>(slot))
               : nullptr;
}

bool holdsScript(const CobInstance& instance, std::string_view name) {
    return instance.file().findScript(name) >= 0;
}

/// Unlike an animation's piece operand, a piece beyond a non-empty order is no piece here.
std::int32_t mappedResult(const CobInstance& instance, std::int32_t cobPiece) {
    const auto& order = instance.cobPieceOrder;
    const auto index = static_cast<std::uint32_t>(cobPiece);
    if (!order.empty() && index >= order.size()) return kNoPiece;
    const std::uint32_t model = instance.modelPieceIndex(index);
    return model < instance.pieces.size() ? static_cast<std::int32_t>(model) : kNoPiece;
}

std::int32_t queriedPiece(CobInstance& instance, std::string_view script) {
    std::int32_t piece = kNoPiece;
    const std::optional<std::int32_t> result =
        CobVm(instance).call(script, std::span(&piece, 1), kCallBudget);
    if (piece < 0) piece = result.value_or(kNoPiece);
    return piece < 0 ? kNoPiece : mappedResult(instance, piece);
}

}  // namespace

CobInstance* UnitLifecycle::setupUnit(const LifecycleUnit& unit,
                                      const std::vector<std::string>* modelPieces) {
    const std::string who = fmt::format("setupUnit({}, id={}): ", unit.name, unit.id);
    if (!lookup_) {
        LogLine(LogLevel::warn) << who << "lookup unset — no COB instance will be created";
        return nullptr;
    }
    auto file = lookup_(unit.name);
    if (file == nullptr) {
        LogLine(LogLevel::warn) << who << "COB not found in cobLookup";
        return nullptr;
    }
    if (modelPieces == nullptr || modelPieces->empty()) {
        LogLine(LogLevel::warn) << who << "model missing or 0 pieces (model="
                                << (modelPieces == nullptr ? "null" : "ok") << " pieces=0)";
        return nullptr;
    }
    auto created = std::make_unique<CobInstance>(std::move(file), modelPieces->size(), unit.name);
    created->cobPieceOrder = matchPieces(created->file(), *modelPieces);
    CobInstance& instance = *created;
    instances_[unit.id] = std::move(created);
    LogLine(LogLevel::info) << "[cob-setup] " << unit.name << " id=" << unit.id
                            << " starting Create script";
    CobVm vm(instance);
    vm.startScript(kCreateScript);
    if (unit.buildFraction >= 1.0F && unit.active) vm.startScript(kActivateScript);
    return &instance;
}

void UnitLifecycle::removeUnit(std::int32_t id) {
    instances_.erase(id);
    std::erase_if(reportedQueries_, [id](const auto& query) { return query.first == id; });
}

CobInstance* UnitLifecycle::instanceOf(std::int32_t id) const {
    const auto found = instances_.find(id);
    return found == instances_.end() ? nullptr : found->second.get();
}

void UnitLifecycle::activate(LifecycleUnit& unit) {
    unit.active = true;
    CobInstance* const instance = instanceOf(unit.id);
    if (instance == nullptr) {
        LogLine(LogLevel::warn) << "activate(" << unit.name << "): no CobInstance found";
        return;
    }
    const bool started = CobVm(*instance).startScript(kActivateScript);
    LogLine(LogLevel::info) << "activate(" << unit.name << "): Activate script "
                            << (started ? "STARTED" : "NOT FOUND");
}

void UnitLifecycle::deactivate(LifecycleUnit& unit) {
    unit.active = false;
    if (CobInstance* const instance = instanceOf(unit.id))
        CobVm(*instance).startScript(kDeactivateScript);
}

std::int32_t UnitLifecycle::queryPiece(std::int32_t id, std::string_view script) {
    CobInstance* const instance = instanceOf(id);
    return instance != nullptr ? queriedPiece(*instance, script) : kNoPiece;
}

void UnitLifecycle::queryPieces(std::int32_t id, std::string_view script,
                                std::span<std::int32_t> pieces) {
    std::ranges::fill(pieces, kNoPiece);
    CobInstance* const instance = instanceOf(id);
    if (instance == nullptr) return;
    CobVm(*instance).call(script, pieces, kCallBudget);
    for (std::int32_t& piece : pieces)
        piece = piece < 0 ? kNoPiece : mappedResult(*instance, piece);
}

std::int32_t UnitLifecycle::sweetSpot(std::int32_t id) {
    CobInstance* const instance = instanceOf(id);
    return instance != nullptr && holdsScript(*instance, kSweetSpotScript)
               ? queriedPiece(*instance, kSweetSpotScript)
               : kNoPiece;
}

std::int32_t UnitLifecycle::queryWeaponPiece(std::int32_t id, int slot) {
    const WeaponScript* const scripts = scriptOf(kQueryScripts, slot);
    CobInstance* const instance = instanceOf(id);
    if (scripts == nullptr || instance == nullptr) return kNoPiece;
    for (const std::string_view script : *scripts)
        if (holdsScript(*instance, script)) return queriedPiece(*instance, script);
    if (reportedQueries_.emplace(id, slot).second)
        LogLine(LogLevel::warn) << fmt::format(
            "queryWeaponPiece: unit={} slot={} — no {} or {} script in COB; muzzle will use facing "
            "offset",
            id, slot, scripts->at(0), scripts->at(1));
    return kNoPiece;
}

bool UnitLifecycle::isAiming(std::int32_t id, int slot) const {
    const WeaponScript* const scripts = scriptOf(kAimScripts, slot);
    const CobInstance* const instance = instanceOf(id);
    if (scripts == nullptr || instance == nullptr) return false;
    for (const std::string_view name : *scripts) {
        const int script = instance->file().findScript(name);
        if (script >= 0 && instance->isScriptRunning(static_cast<std::size_t>(script))) return true;
    }
    return false;
}

std::int32_t UnitLifecycle::killed(std::int32_t id, std::span<std::int32_t> parameters) {
    CobInstance* const instance = instanceOf(id);
    if (instance == nullptr) return kNoResult;
    return CobVm(*instance).call(kKilledScript, parameters, kCallBudget).value_or(kNoResult);
}

}  // namespace orb::unitview
