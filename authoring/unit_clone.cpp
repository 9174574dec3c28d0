#include "authoring/unit_clone.h"

#include <algorithm>

#include "authoring/mod_target.h"
#include "authoring/source_file.h"
#include "io/ascii.h"
#include "io/game_paths.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

/// The keys of a definition that name a part.
struct PartKey {
    UnitPart part;
    const char* key;
    std::string io::FbiUnitInfo::*field;
};

constexpr PartKey kPartKeys[] = {
    {UnitPart::model, "ObjectName", &io::FbiUnitInfo::objectName},
    {UnitPart::script, "ScriptName", &io::FbiUnitInfo::scriptName},
    {UnitPart::script, "Script", &io::FbiUnitInfo::script},
    {UnitPart::picture, "BuildPic", &io::FbiUnitInfo::buildPic},
};

/// Whether the unit's files are not what is shown of it.
bool isShownFromIr(const UnitViewSession& session, const std::string& unit) {
    if (!session.data().files.locate(io::kUnitIrFiles.path(unit))) return false;
    try {
        UnitFaults ignored;
        return session.readUnit(unit, &ignored).loadedFromIR;
    } catch (const RequestError&) {
        return false;
    }
}

class Cloning {
public:
    Cloning(const UnitViewSession& session, const CloneRequest& request)
        : data_(session.data()),
          request_(request),
          definition_(readDefinition(session, request.name)),
          root_(chooseModRoot(data_, request.modPath)) {
        auto info = io::readFbiUnitInfo(definitionBytes(definition_));
        if (!info) throw RequestError(kNoUnitInfo);
        info_ = std::move(*info);
        stem_ = fileStem(definition_.source.location);
        result.name = unitName_ = info_.unitName.empty() ? stem_ : info_.unitName;
        isRenamed_ = request.newName && !io::equalsIgnoringCase(*request.newName, unitName_) &&
                     !io::equalsIgnoringCase(*request.newName, stem_);
        if (!isRenamed_) return;
        requireNewUnitName(*request.newName);
        if (isShownFromIr(session, unitName_))
            throw RequestError("unit was loaded from its IR document");
        result.name = *request.newName;
        if (!request.overwrite && isKnown(result.name))
            throw RequestError("unit exists: " + result.name);
    }

    void collect() {
        const std::vector<PartFile> files = findPartFiles(data_, info_, unitName_, copiedParts());
        FbiEdit edit = editDefinition(definition_, changes(files));
        definition_.text = std::move(edit.text);
        const std::string bytes = definitionBytes(definition_);
        const std::string path = io::kUnitFiles.path(isRenamed_ ? result.name : stem_);
        definitionPath = placeInRoot(data_, root_, path).path;
        add(definition_.source.location, path, io::Bytes(bytes.begin(), bytes.end()),
            !edit.changed.empty());
        for (const PartFile& file : files) {
            const std::string& name = isRenamed_ ? result.name : file.name;
            add(file.location, file.pathFor(name), readPartFile(file, name));
        }
        if (writes.empty() && !request_.overwrite)
            throw RequestError("file exists: " + locationText(definition_.source.location));
    }

    CloneResult result;
    std::vector<FileWrite> writes;
    /// The file or archive that the definition goes into.
    std::filesystem::path definitionPath;

private:
    bool isKnown(const std::string& name) const {
        return data_.catalogue.findLoadable(name) || data_.files.locate(io::kUnitFiles.path(name));
    }

    std::vector<UnitPart> copiedParts() const {
        if (request_.with) return *request_.with;
        if (!isRenamed_) return {};
        return {std::begin(kAllUnitParts), std::end(kAllUnitParts)};
    }

    std::vector<FbiChange> changes(const std::vector<PartFile>& files) const {
        std::vector<FbiChange> changes;
        if (isRenamed_) changes.push_back({"UnitName", result.name});
        for (const auto& [part, key, field] : kPartKeys)
            if (isRenamed_ && !(info_.*field).empty() &&
                std::ranges::find(files, part, &PartFile::part) != files.end())
                changes.push_back({key, result.name});
        if (request_.displayName) changes.push_back({"Name", *request_.displayName});
        return changes;
    }

    /// Under a new name nothing may hide another file of the stack; the same name hides on purpose.
    void add(const io::FileLocation& from, const std::string& path, io::Bytes content,
             bool isChanged = false) {
        io::FileLocation to = placeInRoot(data_, root_, path);
        if (!isRenamed_ && !isChanged && isSamePlace(from, to)) return;
        auto existing = findInRoot(data_, root_, path);
        if (!existing && isRenamed_) existing = data_.files.locate(path);
        if (existing && !request_.overwrite)
            throw RequestError("file exists: " + locationText(*existing));
        result.files.push_back({from, to});
        writes.push_back({std::move(to), std::move(content)});
    }

    const MountedData& data_;
    const CloneRequest& request_;
    RawDefinition definition_;
    const io::VfsLayer& root_;
    io::FbiUnitInfo info_;
    std::string stem_;
    std::string unitName_;
    bool isRenamed_ = false;
};

}  // namespace

CloneResult cloneUnit(UnitViewSession& session, const CloneRequest& request, io::FileOps& ops) {
    Cloning cloning(session, request);
    cloning.collect();
    CloneResult result = std::move(cloning.result);
    result.edit = writeUnitFiles(session, cloning.writes, request.allowBackupCreation, ops);
    if (result.edit.outcome == EditOutcome::ok) result.edit.resolvedPath = cloning.definitionPath;
    return result;
}

}  // namespace orb::unitview
