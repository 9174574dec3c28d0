#include "authoring/unit_definition.h"

#include "authoring/backup.h"
#include "authoring/safe_write.h"
#include "authoring/source_file.h"
#include "io/files/folder_lock.h"
#include "io/formats/tdf.h"
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
        throw RequestError(error.what());
    }
    throw sourceNotFound(unit.name);
}

/// The bytes that read back as this text, in the given encoding if there are such.
std::string encodeReadably(const std::string& text, io::TextEncoding encoding) {
    auto bytes = io::encodeGameText(text, encoding);
    if (!bytes || io::decodeGameText(*bytes).utf8 != text) return text;
    return std::move(*bytes);
}

void requireEncodable(const FbiChange& change, io::TextEncoding encoding) {
    if (!io::encodeGameText(change.key + change.value.value_or(""), encoding))
        throw RequestError("bad value of \"" + change.key +
                           "\": the file's encoding lacks one of its characters");
}

EditResult refusedForBase(const UnitSource& source) {
    return {EditOutcome::refusedForBase, source.location.path, {}};
}

}  // namespace

RawDefinition readDefinition(const UnitViewSession& session,
                             const std::optional<std::string>& name) {
    NamedSource unit = resolve(session, name);
    const io::FolderLock lock(unit.source.location.path);
    auto [text, encoding] = io::decodeGameText(io::asText(readSource(unit)));
    return {std::move(unit.name), std::move(text), encoding, std::move(unit.source)};
}

EditResult writeUnitFile(UnitViewSession& session, const FileLocation& file, io::ByteView bytes,
                         bool allowBackupCreation) {
    const FileWrite write{file, io::Bytes(bytes.begin(), bytes.end())};
    WriteResult written = writeSources(io::systemFileOps(), {&write, 1}, allowBackupCreation);
    if (written.outcome == WriteOutcome::error) throw RequestError(written.message);
    if (written.outcome == WriteOutcome::needsBackupConsent)
        return {EditOutcome::needsBackupConsent, std::move(written.resolvedPath), {}};
    return {EditOutcome::ok, std::move(written.resolvedPath), session.refreshAfterWrite(file)};
}

EditResult saveDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                          const std::string& text, bool allowBackupCreation) {
    const NamedSource unit = resolve(session, name);
    if (!io::parseTdf(text).child(io::kUnitInfoSection)) throw RequestError(kNoUnitInfo);
    if (unit.source.inBaseTa) return refusedForBase(unit.source);
    const io::FolderLock lock(unit.source.location.path);
    const io::TextEncoding encoding = io::decodeGameText(io::asText(readSource(unit))).encoding;
    return writeUnitFile(session, unit.source.location, io::asBytes(encodeReadably(text, encoding)),
                         allowBackupCreation);
}

PatchResult patchDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                            std::span<const FbiChange> changes, bool allowBackupCreation) {
    checkFbiChanges(changes);
    const NamedSource unit = resolve(session, name);
    if (unit.source.inBaseTa) return {refusedForBase(unit.source), {}};
    // What another editor writes between reading and writing would be lost.
    const io::FolderLock lock(unit.source.location.path);
    const io::DecodedText text = io::decodeGameText(io::asText(readSource(unit)));
    for (const FbiChange& change : changes) requireEncodable(change, text.encoding);

    FbiEdit edit = editFbi(text.utf8, changes);
    if (edit.changed.empty()) return {{EditOutcome::ok, unit.source.location.path, {}}, {}};
    const auto bytes = io::encodeGameText(edit.text, text.encoding);
    EditResult written = writeUnitFile(session, unit.source.location, io::asBytes(bytes.value()),
                                       allowBackupCreation);
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
    result.reloadError = session.refreshAfterWrite(file);
    return result;
}

}  // namespace orb::unitview
