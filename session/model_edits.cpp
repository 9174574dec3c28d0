#include "session/model_edits.h"

namespace orb::unitview {
namespace {

using Step = std::optional<std::string_view> (WorkingModel::*)();

std::string_view step(UnitViewSession& session, Step move, const char* textWithoutSteps) {
    std::optional<std::string_view> label;
    session.editModel([&](WorkingModel& working) { label = (working.*move)(); });
    if (!label) throw RequestError(textWithoutSteps);
    return *label;
}

}  // namespace

EditState editState(const UnitViewSession& session) {
    const WorkingModel* const working = session.workingModel();
    if (!working) return {};
    return {working->undoDepth(), working->redoDepth(), working->isDirty()};
}

ModelFixResult applyModelFix(UnitViewSession& session, const ModelFix& fix) {
    reportingFailure([&] { checkFix(fix); });
    const io::FbiUnitInfo& fbi = session.requireUnit().fbi;
    ModelFixResult result{fixLabel(fix), 0};
    session.editModel([&](WorkingModel& working) {
        result.changed = reportingFailure([&] {
            return working.apply(fix, {fbi.footprintX, fbi.footprintZ});
        });
    });
    return result;
}

std::string_view undoModelFix(UnitViewSession& session) {
    return step(session, &WorkingModel::undo, "nothing to undo");
}

std::string_view redoModelFix(UnitViewSession& session) {
    return step(session, &WorkingModel::redo, "nothing to redo");
}

}  // namespace orb::unitview
