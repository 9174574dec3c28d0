#include "session/cob_session.h"

#include <cstdlib>
#include <set>
#include <stdexcept>

#include <fmt/format.h>

#include "cob/cob_vm.h"
#include "cob/known_scripts.h"
#include "io/out_of_memory.h"
#include "model/piece_list.h"

namespace orb::unitview {
namespace {

/// Only its presence counts: the scripts that the session starts are traced from their beginning.
constexpr const char* kTraceSwitch = "ORB_UNITVIEW_TRACE_COB";

/// The live threads by their ids.
std::map<std::uint32_t, CobThread*> threadsOf(const CobInstance& instance) {
    std::map<std::uint32_t, CobThread*> threads;
    for (const auto& thread : instance.threads) threads[thread->id] = thread.get();
    return threads;
}

}  // namespace

void CobSession::setUnit(const LoadedUnit& unit) {
    unitName_ = unit.name;
    unitCob_ = unit.cob;
    modelPieces_ = pieceNames(unit.model);
    unitValues_.clear();
    unitLines.reset();
    debugger_.walkPreview.speed = unit.fbi.maxVelocity;
    build(unitCob_);
}

void CobSession::clear() {
    build(nullptr);
    unitCob_.reset();
    unitValues_.clear();
    unitLines.reset();
    modelPieces_.clear();
}

void CobSession::reset() {
    requireInstance();
    build(unitCob_);
}

void CobSession::loadTemporary(io::ByteView file) {
    requireInstance();
    try {
        build(std::make_shared<const io::CobFile>(io::parseCob(file)));
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw std::runtime_error(std::string("failed to load temporary COB: ") + error.what());
    }
}

void CobSession::setBreakpoints(std::set<std::uint32_t> offsets, CobLineMap lines) {
    debugger_.setBreakpoints(std::move(offsets), std::move(lines));
    hasTemporaryLines_ = instance_ && !runsUnitScript();
}

const CobLineMap& CobSession::setLines() const {
    static const CobLineMap kNone;
    return hasTemporaryLines_ && runsUnitScript() ? kNone : debugger_.lines();
}

void CobSession::write(const CobWrites& writes) {
    check(writes);
    CobInstance& instance = requireInstance();
    for (const auto& [index, value] : writes.statics) instance.statics[index] = value;
    const auto threads = threadsOf(instance);
    for (const auto& [thread, index, value] : writes.locals)
        threads.at(thread)->frames.current()[index] = value;
    for (const auto& [id, value] : writes.unitValues) unitValues_[id] = value;
}

void CobSession::check(const CobWrites& writes) const {
    const CobInstance& instance = debugger_.instance();
    for (const auto& [index, value] : writes.statics)
        if (index >= instance.statics.size())
            throw std::runtime_error(fmt::format("no static variable {}: the script has {}", index,
                                                 instance.statics.size()));
    const auto threads = threadsOf(instance);
    for (const auto& [thread, index, value] : writes.locals) {
        const auto found = threads.find(thread);
        if (found == threads.end()) throw std::runtime_error(fmt::format("no thread {}", thread));
        const std::size_t count = found->second->frames.current().size();
        if (index >= count)
            throw std::runtime_error(
                fmt::format("no local variable {}: thread {} has {} here", index, thread, count));
    }
    std::set<std::int32_t> ids;
    for (const auto& [id, value] : unitValues_) ids.insert(id);
    for (const auto& [id, value] : writes.unitValues) ids.insert(id);
    if (ids.size() > kMaxSetUnitValues)
        throw std::runtime_error(
            fmt::format("at most {} unit values can be set", kMaxSetUnitValues));
}

void CobSession::build(const std::shared_ptr<const io::CobFile>& file) {
    if (instance_) lastTraceSeq_ = instance_->trace.lastSeq();
    std::unique_ptr<CobInstance> instance;
    if (file) {
        instance = std::make_unique<CobInstance>(file, modelPieces_.size(), unitName_);
        instance->cobPieceOrder = matchPieces(*file, modelPieces_);
        instance->trace.countFrom(lastTraceSeq_);
        instance->callbacks.getUnitValue = [this](std::int32_t id) {
            const auto found = unitValues_.find(id);
            return found == unitValues_.end() ? 0 : found->second;
        };
        if (std::getenv(kTraceSwitch)) instance->traceInstructions = true;
        if (file->findScript(kCreateScript) >= 0) CobVm(*instance).startScript(kCreateScript);
    }
    debugger_.attach(instance.get());
    instance_ = std::move(instance);
}

}  // namespace orb::unitview
