#include "authoring/unit_definition.h"

#include <algorithm>

#include "authoring/backup.h"
#include "authoring/safe_write.h"
#include "authoring/source_file.h"
#include "io/ascii.h"
#include "io/content_version.h"
#include "io/files/folder_lock.h"
#include "io/formats/tdf.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

using io::FileLocation;

/// A unit by the name that a request gives it, and the file that defines it.
struct NamedSource {
    std::string name;
    UnitSource source;
};

NamedSource resolve(const UnitViewSession& session, const std::optional<std::string>& name) {
    if (name) return {*name, session.resolveUnitSource(*name)};
    const LoadedUnit& unit = session.requireUnit();
    return {unit.name, session.resolveUnitSource(unit.definitionName())};
}

io::Bytes readSource(const NamedSource& unit) {
    try {
        if (auto bytes = readSourceFile(unit.source.location)) return std::move(*bytes);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw RequestError(error.what());
    }
    throw sourceNotFound(unit.name);
}

void requireEncodable(const FbiChange& change, io::TextEncoding encoding) {
    if (!io::encodeGameText(change.key + change.value.value_or(""), encoding))
        throw RequestError("bad value of \"" + change.key +
                           "\": the file's encoding lacks one of its characters");
}

EditResult refusedForBase(const UnitSource& source) {
    return {EditOutcome::refusedForBase, source.location.path};
}

/// How an edit ends that was meant for another content of the file, or none.
std::optional<EditResult> refusedForVersion(const NamedSource& unit, const io::Bytes& content,
                                            const EditTerms& terms) {
    if (!terms.ifVersion) return std::nullopt;
    std::string version = io::contentVersion(content);
    if (version == *terms.ifVersion) return std::nullopt;
    return EditResult{
        EditOutcome::changedOnDisk, unit.source.location.path, {}, std::move(version)};
}

EditResult writeOnTerms(UnitViewSession& session, const FileLocation& file, std::string_view bytes,
                        const EditTerms& terms) {
    EditResult result = writeUnitFile(session, file, io::asBytes(bytes), terms.allowBackupCreation);
    if (terms.ifVersion)
        result.version = result.outcome == EditOutcome::ok ? io::contentVersion(io::asBytes(bytes))
                                                           : *terms.ifVersion;
    return result;
}

/// The root that holds a file, where an edit that was interrupted is looked for.
std::filesystem::path rootOf(const MountedData& data, const std::filesystem::path& file) {
    for (const std::filesystem::path& root : data.roots) {
        const auto relative = file.lexically_relative(root);
        if (!relative.empty() && *relative.begin() != "..") return root;
    }
    return file.parent_path();
}

/// The units that a file on disk defines, each once.
std::vector<std::string> unitsIn(const MountedData& data, const FileLocation& file) {
    const auto isThere = [&](const UnitDeclaration* unit) {
        if (unit->file.layer->kind != file.kind) return false;
        if (file.kind == FileLocation::Kind::archive) return unit->file.layer->path == file.path;
        return io::equalsIgnoringCase(unit->fileStem, fileStem(file)) &&
               unit->file.location().path == file.path;
    };
    std::vector<std::string> names;
    for (const auto& [name, declarations] : data.catalogue.declarations()) {
        const auto found = std::ranges::find_if(declarations, isThere);
        if (found != declarations.end()) names.push_back((*found)->name);
    }
    return names;
}

}  // namespace

RawDefinition readDefinition(const UnitViewSession& session,
                             const std::optional<std::string>& name) {
    NamedSource unit = resolve(session, name);
    const io::FolderLock lock(unit.source.location.path);
    const FileLocation& file = unit.source.location;
    const io::Bytes content = readSource(unit);
    auto [text, encoding] = io::decodeGameText(io::asText(content));
    RawDefinition raw{std::move(unit.name), std::move(text), encoding, unit.source,
                      io::contentVersion(content)};
    raw.hasBackup = hasBackup(io::systemFileOps(), file.path);
    if (raw.hasBackup) raw.backupCovers = unitsIn(session.data(), file);
    return raw;
}

std::string definitionBytes(const RawDefinition& definition) {
    return io::encodeGameText(definition.text, definition.encoding).value();
}

std::string encodeDefinition(const std::string& text, io::TextEncoding encoding) {
    auto bytes = io::encodeGameText(text, encoding);
    if (!bytes || io::decodeGameText(*bytes).utf8 != text) return text;
    return std::move(*bytes);
}

FbiEdit editDefinition(const RawDefinition& definition, std::span<const FbiChange> changes) {
    checkFbiChanges(changes);
    for (const FbiChange& change : changes) requireEncodable(change, definition.encoding);
    return editFbi(definition.text, changes);
}

EditResult writeUnitFiles(UnitViewSession& session, std::span<const FileWrite> files,
                          bool allowBackupCreation, io::FileOps& ops,
                          const std::optional<UnitSource>& model) {
    if (files.empty()) return {};
    WriteResult written = writeSources(ops, files, allowBackupCreation,
                                       rootOf(session.data(), files.front().target.path));
    if (written.outcome == WriteOutcome::error) throw RequestError(written.message);
    if (written.outcome == WriteOutcome::needsBackupConsent)
        return {EditOutcome::needsBackupConsent, std::move(written.resolvedPath), {}};
    std::vector<FileLocation> locations;
    locations.reserve(files.size());
    for (const FileWrite& file : files) {
        locations.push_back(file.target);
        if (model && isSamePlace(file.target, model->location))
            session.takeModelAsSaved(*model, io::contentVersion(file.content));
    }
    return {EditOutcome::ok, std::move(written.resolvedPath), session.refreshAfterWrite(locations)};
}

EditResult writeUnitFile(UnitViewSession& session, const FileLocation& file, io::ByteView bytes,
                         bool allowBackupCreation) {
    const FileWrite write{file, io::Bytes(bytes.begin(), bytes.end())};
    return writeUnitFiles(session, {&write, 1}, allowBackupCreation);
}

EditResult saveDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                          const std::string& text, const EditTerms& terms) {
    const NamedSource unit = resolve(session, name);
    const FileLocation& file = unit.source.location;
    if (!io::parseTdf(text).child(io::kUnitInfoSection)) throw RequestError(kNoUnitInfo);
    if (unit.source.inBaseTa && !terms.checkOnly) return refusedForBase(unit.source);
    const io::FolderLock lock(file.path);
    const io::Bytes content = readSource(unit);
    if (auto refused = refusedForVersion(unit, content, terms)) return std::move(*refused);
    if (terms.checkOnly) return {EditOutcome::checked, file.path, {}, terms.ifVersion};
    const io::TextEncoding encoding = io::decodeGameText(io::asText(content)).encoding;
    return writeOnTerms(session, file, encodeDefinition(text, encoding), terms);
}

PatchResult patchDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                            std::span<const FbiChange> changes, const EditTerms& terms) {
    checkFbiChanges(changes);
    const NamedSource unit = resolve(session, name);
    if (unit.source.inBaseTa) return {refusedForBase(unit.source), {}};
    // What another editor writes between reading and writing would be lost.
    const io::FolderLock lock(unit.source.location.path);
    const io::Bytes content = readSource(unit);
    if (auto refused = refusedForVersion(unit, content, terms)) return {std::move(*refused), {}};
    auto [text, encoding] = io::decodeGameText(io::asText(content));
    FbiEdit edit = editDefinition({unit.name, std::move(text), encoding, unit.source}, changes);
    if (edit.changed.empty())
        return {{EditOutcome::ok, unit.source.location.path, {}, terms.ifVersion}, {}};
    const auto bytes = io::encodeGameText(edit.text, encoding);
    EditResult written = writeOnTerms(session, unit.source.location, bytes.value(), terms);
    return {std::move(written), std::move(edit.changed)};
}

RestoredSource restoreUnitSource(UnitViewSession& session, const std::string& name) {
    FileLocation file;
    try {
        file = session.resolveUnitSource(name).location;
    } catch (const RequestError&) {
        throw RequestError("could not resolve source for " + name);
    }
    RestoredSource result{file.path, restoreFromBackup(io::systemFileOps(), file.path), {}};
    file.internalPath.clear();
    result.reload = session.refreshAfterWrite({&file, 1});
    return result;
}

}  // namespace orb::unitview
