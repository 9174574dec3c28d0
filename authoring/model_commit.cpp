#include "authoring/model_commit.h"

#include "authoring/source_file.h"
#include "model/edit/model_values.h"
#include "session/model_file.h"

namespace orb::unitview {
namespace {

UnitSource modelTarget(const UnitViewSession& session) {
    const LoadedUnit& unit = session.requireUnit();
    if (unit.loadedFromIR) throw RequestError("unit was loaded from its IR document");
    auto source = findModelSource(session.data().files, unit.fbi.objectName);
    if (!source) throw sourceNotFound(unit.name);
    // Since other roots were set the name may mean another model, which must not be overwritten.
    if (unit.modelSource && !isSamePlace(unit.modelSource->location, source->location))
        throw RequestError("model was loaded from elsewhere: " +
                           locationText(unit.modelSource->location));
    return std::move(*source);
}

bool readsBackAs(const io::Bytes& file, const io::Model3doObject& model) {
    try {
        return isSameModel(io::parse3do(file), model);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

std::optional<ModelToSave> modelToSave(const UnitViewSession& session) {
    UnitSource target = modelTarget(session);
    const WorkingModel* const working = session.workingModel();
    if (!working || !working->isDirty()) return std::nullopt;
    io::Bytes file =
        reportingFailure([&] { return io::write3do(working->model()); }, "write3do failed: ");
    if (!readsBackAs(file, working->model())) throw RequestError("3DO would not read back");
    return ModelToSave{std::move(target), std::move(file)};
}

EditResult commitModel(UnitViewSession& session, bool allowBackupCreation) {
    const auto saved = modelToSave(session);
    if (!saved) return {EditOutcome::ok, modelTarget(session).location.path, {}};
    if (saved->target.inBaseTa)
        return {EditOutcome::refusedForBase, saved->target.location.path, {}};
    const FileWrite write = saved->asWrite();
    WriteResult written = writeSources(io::systemFileOps(), {&write, 1}, allowBackupCreation);
    if (written.outcome == WriteOutcome::error) throw RequestError(written.message);
    if (written.outcome == WriteOutcome::needsBackupConsent)
        return {EditOutcome::needsBackupConsent, std::move(written.resolvedPath), {}};
    return {EditOutcome::ok, std::move(written.resolvedPath),
            session.refreshAfterModelWrite(saved->target)};
}

}  // namespace orb::unitview
