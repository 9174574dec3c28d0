#include "authoring/unit_save.h"

#include <algorithm>

#include <fmt/format.h>

#include "authoring/mod_target.h"
#include "authoring/model_commit.h"
#include "authoring/source_file.h"
#include "authoring/unit_parts.h"
#include "io/ascii.h"
#include "io/content_version.h"
#include "io/files/write_plan.h"
#include "io/formats/cob_file.h"
#include "io/formats/tdf.h"
#include "io/game_paths.h"
#include "model/build_picture_file.h"
#include "session/request_error.h"
#include "session/unit_script.h"

namespace orb::unitview {
namespace {

const LoadedUnit& requireUnitNamed(const UnitViewSession& session,
                                   const std::optional<std::string>& name) {
    const LoadedUnit& unit = session.requireUnit();
    if (name && !io::equalsIgnoringCase(*name, unit.name) &&
        !io::equalsIgnoringCase(*name, unit.definitionName()))
        throw RequestError("not the loaded unit: " + *name);
    return unit;
}

[[noreturn]] void failToCompile(const std::vector<bos::BosDiagnostic>& diagnostics) {
    const auto isError = [](const bos::BosDiagnostic& each) {
        return each.severity == bos::Severity::error;
    };
    const auto count = std::ranges::count_if(diagnostics, isError);
    const auto first = std::ranges::find_if(diagnostics, isError);
    std::string text =
        fmt::format("script does not compile: {} error{}", count, count == 1 ? "" : "s");
    if (first != diagnostics.end())
        text += fmt::format(", {}in line {}: {}", count == 1 ? "" : "the first ", first->mainLine,
                            first->message);
    throw RequestError(text);
}

class Saving {
public:
    Saving(const UnitViewSession& session, const SaveRequest& request, RawDefinition definition)
        : session_(session),
          unit_(session.requireUnit()),
          request_(request),
          definition_(std::move(definition)) {
        takeDefinition();
        takeModel();
        takeScript();
        takePicture();
    }

    SaveResult result;
    std::vector<FileWrite> writes;
    /// That of the definition as it is saved.
    std::string version;
    /// Where the working model is written, if it is.
    std::optional<UnitSource> model;
    /// A file that another program has changed, and its version now; nothing may be written then.
    struct OtherVersion {
        std::filesystem::path file;
        std::string version;
    };
    std::optional<OtherVersion> otherModel;
    std::optional<OtherVersion> otherScript;
    /// That of the script's source as it is saved.
    std::string scriptVersion;

private:
    void takeDefinition() {
        std::string bytes = definitionBytes(definition_);
        bool isWritten = false;
        if (const auto* const text = std::get_if<std::string>(&request_.definition)) {
            if (!io::parseTdf(*text).child(io::kUnitInfoSection)) throw RequestError(kNoUnitInfo);
            bytes = encodeDefinition(*text, definition_.encoding);
            isWritten = true;
        } else if (const auto* const changes =
                       std::get_if<std::vector<FbiChange>>(&request_.definition)) {
            const FbiEdit edit = editDefinition(definition_, *changes);
            bytes = io::encodeGameText(edit.text, definition_.encoding).value();
            isWritten = !edit.changed.empty();
        }
        version = io::contentVersion(io::asBytes(bytes));
        auto info = io::readFbiUnitInfo(bytes);
        if (!info) throw RequestError(kNoUnitInfo);
        info_ = std::move(*info);
        name_ = info_.unitName.empty() ? fileStem(definition_.source.location) : info_.unitName;
        if (isWritten)
            add("definition", definition_.source.location, io::Bytes(bytes.begin(), bytes.end()));
    }

    void takeScript() {
        if (std::holds_alternative<std::monostate>(request_.script)) return;
        if (unit_.loadedFromIR) throw RequestError("unit was loaded from its IR document");
        const std::string_view name = scriptName(info_, name_);
        if (!io::equalsIgnoringCase(name, scriptName(unit_.fbi, unit_.name))) {
            requireFree(io::kScriptFiles.path(name));
            requireFree(io::kScriptSourceFiles.path(name));
        }
        const io::Bytes before = readScriptSource(name);
        if (const auto* const cob = std::get_if<io::Bytes>(&request_.script)) {
            reportingFailure([&] { io::parseCob(*cob); }, "bad cob_b64: ");
            addPart("script", io::kScriptFiles.path(name), *cob);
        } else if (const auto* const source = std::get_if<ScriptText>(&request_.script)) {
            const std::string cobPath = io::kScriptFiles.path(name);
            const std::string path = io::kScriptSourceFiles.path(name);
            bos::BosCompilation compiled = reportingFailure([&] {
                return bos::compileBos(source->bos, path, includeFiles(session_), source->options);
            });
            if (!compiled.ok) failToCompile(compiled.diagnostics);
            addPart("script", cobPath, io::writeCob(compiled.code.cob));
            const auto encoding = io::decodeGameText(io::asText(before)).encoding;
            const std::string text = encodeDefinition(source->bos, encoding);
            scriptVersion = io::contentVersion(io::asBytes(text));
            add("script-source", placeInRoot(session_.data(), rootFor(cobPath), path),
                io::Bytes(text.begin(), text.end()));
            result.diagnostics = std::move(compiled.diagnostics);
        }
    }

    /// As it is on disk, nothing where there is none; locked, where the request is for a version.
    io::Bytes readScriptSource(std::string_view name) {
        const auto found = findSource(session_.data().files, io::kScriptSourceFiles.path(name));
        if (found && request_.ifScriptVersion)
            reportingFailure([&] { scriptLock_.emplace(found->location.path); });
        std::optional<io::Bytes> content;
        if (found) content = reportingFailure([&] { return readSourceFile(found->location); });
        scriptVersion = content ? io::contentVersion(*content) : std::string();
        if (scriptVersion != request_.ifScriptVersion.value_or(scriptVersion))
            otherScript = {found ? found->location.path : definition_.source.location.path,
                           scriptVersion};
        return content.value_or(io::Bytes());
    }

    /// What the new name of a part leads to is another unit's.
    void requireFree(const std::string& path) const {
        if (request_.overwrite) return;
        if (const auto existing = session_.data().files.locate(path))
            throw RequestError("file exists: " + locationText(*existing));
    }

    void takeModel() {
        const WorkingModel* const working = session_.workingModel();
        if (!request_.model || !working || !working->isDirty()) return;
        auto saved = modelToSave(session_);
        if (!saved) return;
        const bool isRenamed = !io::equalsIgnoringCase(info_.objectName, unit_.fbi.objectName);
        if (isRenamed || saved->target.inBaseTa) {
            const std::string name = isRenamed ? std::string(io::kModelFiles.stem(info_.objectName))
                                               : fileStem(saved->target.location);
            if (isRenamed) requireFree(io::kModelFiles.path(name));
            saved->target = {placeOf(io::kModelFiles.path(name)), false};
        } else {
            reportingFailure([&] { modelLock_.emplace(saved->target.location.path); });
            if (auto other = otherVersionOnDisk(*saved, request_.ifModelVersion))
                otherModel = {saved->target.location.path, std::move(*other)};
        }
        model = saved->target;
        add("model", saved->target.location, std::move(saved->file));
    }

    void takePicture() {
        if (!request_.picture) return;
        const std::string path = buildPicturePath(info_, name_);
        if (!io::equalsIgnoringCase(path, buildPicturePath(unit_.fbi, unit_.name)))
            requireFree(path);
        addPart("picture", path,
                reportingFailure(
                    [&] { return buildPictureFromPng(*request_.picture, session_.palette()); },
                    "bad png_b64: "));
    }

    /// The root that the game reads a file from; in place of the base game, the definition's mod.
    const io::VfsLayer& rootFor(const std::string& path) const {
        const io::VfsLayer* const root = rootOf(session_.data(), path);
        if (root && root->rootKind != io::DataRootKind::base) return *root;
        return rootOfDefinition(session_.data(), definition_.source.location);
    }

    io::FileLocation placeOf(const std::string& path) const {
        return placeInRoot(session_.data(), rootFor(path), path);
    }

    void addPart(std::string_view part, const std::string& path, io::Bytes content) {
        add(part, placeOf(path), std::move(content));
    }

    void add(std::string_view part, const io::FileLocation& location, io::Bytes content) {
        result.files.push_back({part, location});
        writes.push_back({location, std::move(content)});
    }

    const UnitViewSession& session_;
    const LoadedUnit& unit_;
    const SaveRequest& request_;
    RawDefinition definition_;
    /// As they are saved.
    io::FbiUnitInfo info_;
    std::string name_;
    /// What another program writes between reading and writing would be lost.
    std::optional<io::FolderLock> modelLock_;
    std::optional<io::FolderLock> scriptLock_;
};

}  // namespace

SaveResult saveUnit(UnitViewSession& session, const SaveRequest& request, io::FileOps& ops) {
    const std::string stem = requireUnitNamed(session, request.name).definitionName();
    const io::FileLocation file = session.resolveUnitSource(stem).location;
    const io::FolderLock rootLock =
        lockForEdit(session, io::planPath(editRootOf(session, file.path)));
    const io::FolderLock lock = lockForEdit(session, file.path);
    RawDefinition definition = readDefinition(session, stem);
    if (definition.source.inBaseTa)
        return {{}, {}, {EditOutcome::refusedForBase, definition.source.location.path, {}}};
    const EditTerms& terms = request.terms;
    if (terms.ifVersion && *terms.ifVersion != definition.version)
        return {{}, {}, {EditOutcome::changedOnDisk, file.path, {}, definition.version}};
    Saving saving(session, request, std::move(definition));
    for (const auto& [other, told] : {std::pair{&saving.otherModel, &SaveResult::modelVersion},
                                      std::pair{&saving.otherScript, &SaveResult::scriptVersion}}) {
        if (!*other) continue;
        SaveResult refused;
        refused.edit.outcome = EditOutcome::changedOnDisk;
        refused.edit.resolvedPath = (*other)->file;
        refused.edit.version = terms.ifVersion;
        refused.*told = (*other)->version;
        return refused;
    }
    SaveResult result = std::move(saving.result);
    result.edit =
        writeUnitFiles(session, saving.writes, terms.allowBackupCreation, ops, saving.model);
    const bool isSaved = result.edit.outcome == EditOutcome::ok;
    if (isSaved) result.edit.resolvedPath = file.path;
    if (terms.ifVersion) result.edit.version = isSaved ? saving.version : *terms.ifVersion;
    if (isSaved && request.ifScriptVersion) result.scriptVersion = saving.scriptVersion;
    return result;
}

}  // namespace orb::unitview
