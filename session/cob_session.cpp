#include "session/cob_session.h"

#include <cstdlib>
#include <stdexcept>

#include "cob/cob_vm.h"
#include "cob/known_scripts.h"
#include "model/piece_list.h"

namespace orb::unitview {
namespace {

/// Only its presence counts: the scripts that the session starts are traced from their beginning.
constexpr const char* kTraceSwitch = "ORB_UNITVIEW_TRACE_COB";

}  // namespace

void CobSession::setUnit(const LoadedUnit& unit) {
    unitName_ = unit.name;
    unitCob_ = unit.cob;
    modelPieces_ = pieceNames(unit.model);
    debugger_.walkPreview.speed = unit.fbi.maxVelocity;
    build(unitCob_);
}

void CobSession::clear() {
    debugger_.attach(nullptr);
    instance_.reset();
    unitCob_.reset();
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
        throw std::runtime_error(std::string("failed to load temporary COB: ") + error.what());
    }
}

void CobSession::build(const std::shared_ptr<const io::CobFile>& file) {
    std::unique_ptr<CobInstance> instance;
    if (file) {
        instance = std::make_unique<CobInstance>(file, modelPieces_.size(), unitName_);
        instance->cobPieceOrder = matchPieces(*file, modelPieces_);
        if (std::getenv(kTraceSwitch)) instance->traceInstructions = true;
        if (file->findScript(kCreateScript) >= 0) CobVm(*instance).startScript(kCreateScript);
    }
    debugger_.attach(instance.get());
    instance_ = std::move(instance);
}

}  // namespace orb::unitview
