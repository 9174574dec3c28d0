#pragma once

#include <optional>
#include <string>

#include "authoring/safe_write.h"
#include "authoring/unit_definition.h"

/// Saving the edits of the loaded unit's model.
namespace orb::unitview {

/// The model's file as it is to be written, and where it lies.
struct ModelToSave {
    UnitSource target;
    io::Bytes file;
    /// The content of the file that the edits are for.
    std::string editedVersion;
};

/// What saving the working model would write; none when it is as it was saved. Throws RequestError
/// "no unit loaded; call load-unit first", "unit was loaded from its IR document", "could not
/// locate source for UNIT", "model was loaded from elsewhere: …", "3DO has pieces that would be
/// lost", "write3do failed: …", or "3DO would not read back" when the file would not hold the
/// model. Whoever writes it tells the session with takeModelAsSaved.
std::optional<ModelToSave> modelToSave(const UnitViewSession& session);

/// The version of a model's file as it is on disk now when that is another one than the edits are
/// for: those of `ifVersion`, else those of the file that was loaded or saved last. Empty for a
/// file that has gone. Throws RequestError with the text of a damaged archive.
std::optional<std::string> otherVersionOnDisk(const ModelToSave& model,
                                              const std::optional<std::string>& ifVersion);

/// Writes the working model where the loaded one came from; nothing when there is nothing to save.
/// Throws what modelToSave throws, and RequestError with the write's message. `checkOnly` is none
/// of the terms.
EditResult commitModel(UnitViewSession& session, const EditTerms& terms);

}  // namespace orb::unitview
