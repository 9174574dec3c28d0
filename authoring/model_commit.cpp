#include "authoring/model_commit.h"

#include <algorithm>

#include "authoring/mod_folder.h"
#include "authoring/source_file.h"
#include "io/content_version.h"
#include "io/out_of_memory.h"
#include "model/edit/model_values.h"
#include "session/model_file.h"

namespace orb::unitview {
namespace {

/// The loose file that the model came from has gone from a mounted mod; edits of it are worth a new
/// one.
bool hasLostModel(const UnitViewSession& session) {
    const auto& source = session.requireUnit().modelSource;
    return source && !source->inBaseTa && source->location.kind == io::FileLocation::Kind::loose &&
           std::ranges::any_of(session.data().roots, [&](const std::filesystem::path& root) {
               return liesIn(source->location.path, root);
           });
}

UnitSource modelTarget(const UnitViewSession& session) {
    const LoadedUnit& unit = session.requireUnit();
    if (unit.loadedFromIR) throw RequestError("unit was loaded from its IR document");
    auto source = findModelSource(session.data().files, unit.fbi.objectName);
    if (!source && hasLostModel(session)) return *unit.modelSource;
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
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return false;
    }
}

}  // namespace

std::optional<ModelToSave> modelToSave(const UnitViewSession& session) {
    UnitSource target = modelTarget(session);
    const WorkingModel* const working = session.workingModel();
    if (!working || !working->isDirty()) return std::nullopt;
    if (lacksPieces(working->model())) throw RequestError("3DO has pieces that would be lost");
    io::Bytes file =
        reportingFailure([&] { return io::write3do(working->model()); }, "write3do failed: ");
    if (!readsBackAs(file, working->model())) throw RequestError("3DO would not read back");
    return ModelToSave{std::move(target), std::move(file), working->savedVersion()};
}

std::optional<std::string> otherVersionOnDisk(const ModelToSave& model,
                                              const std::optional<std::string>& ifVersion) {
    const auto content = reportingFailure([&] { return readSourceFile(model.target.location); });
    std::string version = content ? io::contentVersion(*content) : std::string();
    if (version == ifVersion.value_or(model.editedVersion)) return std::nullopt;
    return version;
}

EditResult commitModel(UnitViewSession& session, const EditTerms& terms) {
    const auto saved = modelToSave(session);
    if (!saved) return {EditOutcome::ok, modelTarget(session).location.path, {}, terms.ifVersion};
    const io::FileLocation& file = saved->target.location;
    if (saved->target.inBaseTa) return {EditOutcome::refusedForBase, file.path};
    const io::FolderLock lock = lockForEdit(session, file.path);
    if (auto other = otherVersionOnDisk(*saved, terms.ifVersion))
        return {EditOutcome::changedOnDisk, file.path, {}, std::move(other)};
    const FileWrite write{file, saved->file};
    EditResult result = writeUnitFiles(session, {&write, 1}, terms.allowBackupCreation,
                                       io::systemFileOps(), saved->target);
    if (terms.ifVersion)
        result.version =
            result.outcome == EditOutcome::ok ? io::contentVersion(saved->file) : *terms.ifVersion;
    return result;
}

}  // namespace orb::unitview
