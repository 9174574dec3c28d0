#pragma once

#include <optional>

#include "authoring/safe_write.h"
#include "authoring/unit_definition.h"

/// Saving the edits of the loaded unit's model.
namespace orb::unitview {

/// The model's file as it is to be written, and where it lies.
struct ModelToSave {
    UnitSource target;
    io::Bytes file;

    FileWrite asWrite() const { return {target.location, file}; }
};

/// What saving the working model would write; none when it is as it was saved. Throws RequestError
/// "no unit loaded; call load-unit first", "unit was loaded from its IR document", "could not
/// locate source for UNIT", "write3do failed: …", or "3DO would not read back" when the file would
/// not hold the model. Whoever writes it tells the session with refreshAfterModelWrite.
std::optional<ModelToSave> modelToSave(const UnitViewSession& session);

/// Writes the working model where the loaded one came from; nothing when there is nothing to save.
/// Throws what modelToSave throws, and RequestError with the write's message.
EditResult commitModel(UnitViewSession& session, bool allowBackupCreation);

}  // namespace orb::unitview
