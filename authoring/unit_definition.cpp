#include "authoring/unit_definition.h"

#include <algorithm>

#include "authoring/backup.h"
#include "authoring/mod_folder.h"
#include "authoring/safe_write.h"
#include "authoring/source_file.h"
#include "io/archive/hpi_archive.h"
#include "io/ascii.h"
#include "io/content_version.h"
#include "io/files/write_plan.h"
#include "io/formats/tdf.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/vfs/data_roots.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
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

bool isMounted(const MountedData& data, const fs::path& archive) {
    const auto layers = data.files.layers();
    return std::ranges::find(layers, archive, &io::VfsLayer::path) != layers.end();
}

bool opensAsArchive(const fs::path& file) {
    try {
        const io::HpiArchive archive(file);
        return true;
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return false;
    }
}

void requireReadable(const io::HpiArchive& archive) {
    io::HpiReader reader = archive.openReader();
    std::vector<const io::HpiEntries*> left{&archive.root().entries};
    while (!left.empty()) {
        const io::HpiEntries* const folder = left.back();
        left.pop_back();
        for (const io::HpiEntry& entry : *folder)
            if (entry.directory())
                left.push_back(entry.directory());
            else
                reader.readFile(*entry.file());
    }
}

/// What would be put in the place of a unit's file must be one. Throws RequestError "backup is
/// damaged: …".
void requireWholeBackup(const FileLocation& file) {
    const fs::path backup = backupPath(file.path);
    reportingFailure(
        [&] {
            if (file.kind == FileLocation::Kind::archive) {
                requireReadable(io::HpiArchive(backup));
                return;
            }
            std::error_code error;
            const io::Bytes bytes = io::systemFileOps().read(backup, error);
            if (error) throw RequestError(error.message());
            if (!io::parseTdf(io::asText(bytes)).child(io::kUnitInfoSection))
                throw RequestError(kNoUnitInfo);
        },
        "backup is damaged: ");
}

/// The names of a folder's backups without what makes them backups, in order.
std::vector<fs::path> backedUpIn(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path file = fs::path(entry->path()).replace_extension();
        if (backupPath(file) == entry->path()) files.push_back(file);
    }
    std::ranges::sort(files);
    return files;
}

/// A mod's folder of definitions, as it is spelled there.
fs::path unitFolderOf(const MountedData& data, const fs::path& mod) {
    for (const io::VfsLayer& layer : data.files.layers())
        if (layer.kind == FileLocation::Kind::loose && layer.path == mod)
            return looseFileIn(layer, io::kUnitFiles.path("x")).path.parent_path();
    return mod;
}

/// The file of a unit that is gone or cannot be read any more, by its backup in a mod.
std::optional<FileLocation> findLostSource(const MountedData& data, const std::string& name) {
    const std::string path = io::kUnitFiles.path(name);
    for (const fs::path& mod : data.request.modPaths) {
        const auto isDefinition = [&](const fs::path& file) {
            return io::equalsIgnoringCase(io::textFromPath(file.filename()),
                                          name + std::string(io::kUnitFiles.extension));
        };
        const std::vector<fs::path> loose = backedUpIn(unitFolderOf(data, mod));
        if (const auto found = std::ranges::find_if(loose, isDefinition); found != loose.end())
            return FileLocation{FileLocation::Kind::loose, *found, {}};
        for (const fs::path& archive : backedUpIn(mod)) {
            if (!io::isArchiveExtension(io::textFromPath(archive.extension())) ||
                opensAsArchive(archive) || !opensAsArchive(backupPath(archive)))
                continue;
            if (auto stored = io::HpiArchive(backupPath(archive)).storedPath(path))
                return FileLocation{FileLocation::Kind::archive, archive, std::move(*stored)};
        }
    }
    return std::nullopt;
}

}  // namespace

fs::path editRootOf(const UnitViewSession& session, const fs::path& file) {
    for (const fs::path& root : session.data().roots) {
        const auto relative = file.lexically_relative(root);
        if (!relative.empty() && *relative.begin() != "..") return root;
    }
    return file.parent_path();
}

io::FolderLock lockForEdit(const UnitViewSession& session, const fs::path& file) {
    return reportingFailure([&] {
        io::finishWrite(io::systemFileOps(), editRootOf(session, file), session.data().roots);
        return io::FolderLock(file);
    });
}

RawDefinition readDefinition(const UnitViewSession& session,
                             const std::optional<std::string>& name) {
    NamedSource unit = resolve(session, name);
    const FileLocation& file = unit.source.location;
    const io::FolderLock lock(file.path, io::FolderLock::Busy::goOn);
    const io::Bytes content = readSource(unit);
    auto [text, encoding] = io::decodeGameText(io::asText(content));
    RawDefinition raw{std::move(unit.name), std::move(text), encoding, unit.source,
                      io::contentVersion(content)};
    raw.hasBackup = hasBackup(io::systemFileOps(), file.path);
    if (raw.hasBackup) raw.backupCovers = unitsIn(session.data(), file);
    raw.isBackupOlder = isBackupOlder(io::systemFileOps(), file.path);
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
    WriteResult written =
        writeSources(ops, files, allowBackupCreation,
                     editRootOf(session, files.front().target.path), session.data().roots);
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
    const io::FolderLock lock = lockForEdit(session, file.path);
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
    const io::FolderLock lock = lockForEdit(session, unit.source.location.path);
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
    io::FileOps& ops = io::systemFileOps();
    std::optional<FileLocation> file;
    try {
        file = session.resolveUnitSource(name).location;
    } catch (const RequestError&) {
        // It may be gone.
    }
    if (session.hasData() && !(file && hasBackup(ops, file->path)))
        if (auto lost = findLostSource(session.data(), name)) file = std::move(lost);
    if (!file) throw RequestError("could not resolve source for " + name);
    const io::FolderLock lock = lockForEdit(session, file->path);
    if (hasBackup(ops, file->path)) requireWholeBackup(*file);
    RestoredSource result{file->path, restoreFromBackup(ops, file->path), {}};
    if (file->kind == FileLocation::Kind::archive && !isMounted(session.data(), file->path))
        session.mountAgain(session.data().request);
    file->internalPath.clear();
    result.reload = session.refreshAfterWrite({&*file, 1});
    return result;
}

}  // namespace orb::unitview
