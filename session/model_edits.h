#pragma once

#include <string>
#include <string_view>

#include "model/edit/model_fix.h"
#include "session/unit_view_session.h"

/// Edits of the loaded unit's model. All throw RequestError "no unit loaded; call load-unit first".
namespace orb::unitview {

/// Where the history of edits stands.
struct EditState {
    std::size_t undoDepth = 0;
    std::size_t redoDepth = 0;
    bool isDirty = false;
};
EditState editState(const UnitViewSession& session);

struct ModelFixResult {
    std::string_view label;
    std::size_t changed = 0;
};

/// Makes a change. Throws RequestError with what applyFix throws; what can be told without a model
/// goes before the unit.
ModelFixResult applyModelFix(UnitViewSession& session, const ModelFix& fix);

/// Go back or forth by one step and return its label. Throw RequestError "nothing to undo",
/// "nothing to redo".
std::string_view undoModelFix(UnitViewSession& session);
std::string_view redoModelFix(UnitViewSession& session);

}  // namespace orb::unitview
