#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "authoring/fbi_edit.h"
#include "authoring/safe_write.h"
#include "io/files/folder_lock.h"
#include "io/text_encoding.h"
#include "session/unit_view_session.h"

/// Reading and changing the definition files of units. Names are those of
/// UnitViewSession::resolveUnitSource, whose errors all of these throw; an absent name means the
/// loaded unit (RequestError "no unit loaded; call load-unit first").
namespace orb::unitview {

/// A unit's definition as it stands on disk.
struct RawDefinition {
    std::string name;
    /// UTF-8.
    std::string text;
    io::TextEncoding encoding = io::TextEncoding::utf8;
    UnitSource source;
    /// Tells this content of the file from others.
    std::string version = {};
    bool hasBackup = false;
    /// The units that restoring the backup would undo: all that its file defines.
    std::vector<std::string> backupCovers = {};
    /// Another program has put another file in this one's place since.
    bool isBackupOlder = false;
};

/// Reads the file itself, not what was mounted. Throws a damaged archive's text.
RawDefinition readDefinition(const UnitViewSession& session,
                             const std::optional<std::string>& name);

/// The root that holds a file, where an edit that was interrupted is looked for.
std::filesystem::path editRootOf(const UnitViewSession& session, const std::filesystem::path& file);

/// Locks the folder of a file from reading to writing it: what another editor writes in between
/// would be lost. An edit of its mod that was interrupted is finished before. Throws RequestError
/// "… is being written by another editor".
io::FolderLock lockForEdit(const UnitViewSession& session, const std::filesystem::path& file);

/// The bytes of the file.
std::string definitionBytes(const RawDefinition& definition);

/// The bytes that read back as this text, in the given encoding if there are such, else in UTF-8.
std::string encodeDefinition(const std::string& text, io::TextEncoding encoding);

/// Changes keys in a definition's text so that its encoding holds them. Throws what checkFbiChanges
/// and editFbi throw, and RequestError "bad value of …" for characters that the encoding lacks.
FbiEdit editDefinition(const RawDefinition& definition, std::span<const FbiChange> changes);

/// How a write of a unit's file ended; only `ok` has written anything.
enum class EditOutcome { ok, needsBackupConsent, refusedForBase, changedOnDisk, checked };

struct EditResult {
    EditOutcome outcome = EditOutcome::ok;
    std::filesystem::path resolvedPath;
    Reload reload = {};
    /// The version that the file has now, for an edit that was bound to one.
    std::optional<std::string> version = {};
};

/// What an edit of a definition may do.
struct EditTerms {
    bool allowBackupCreation = false;
    /// The edit is for this version of the file only: another ends it before anything else is
    /// asked.
    std::optional<std::string> ifVersion = {};
    /// Everything but writing.
    bool checkOnly = false;
};

/// Writes files of units, all or none, whatever they belong to, and lets the session take them over
/// at once. One of them may be that of the working model, `model`. `resolvedPath` is that of
/// writeSources. Throws RequestError with the write's message.
EditResult writeUnitFiles(UnitViewSession& session, std::span<const FileWrite> files,
                          bool allowBackupCreation, io::FileOps& ops = io::systemFileOps(),
                          const std::optional<UnitSource>& model = {});

/// Writes the file of a unit, whatever it belongs to, and lets the session take it over. Throws
/// RequestError with the write's message.
EditResult writeUnitFile(UnitViewSession& session, const io::FileLocation& file, io::ByteView bytes,
                         bool allowBackupCreation);

/// Replaces a definition's text. It keeps its encoding unless that lacks one of the characters (or
/// would be taken for UTF-8 when read back); then it becomes UTF-8. Throws RequestError
/// kNoUnitInfo.
EditResult saveDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                          const std::string& text, const EditTerms& terms);

struct PatchResult {
    EditResult edit;
    /// The keys whose values differ from before, written or not.
    std::vector<std::string> changed;
};

/// Changes keys of a definition (UTF-8) in place; the file keeps its encoding. Nothing is written,
/// and no consent needed, when all keys have their values already. Throws what checkFbiChanges and
/// editFbi throw, and RequestError "bad value of …" for characters that the file's encoding lacks.
PatchResult patchDefinition(UnitViewSession& session, const std::optional<std::string>& name,
                            std::span<const FbiChange> changes, const EditTerms& terms);

struct RestoredSource {
    std::filesystem::path restoredPath;
    std::optional<std::string> warning;
    Reload reload = {};
};

/// Restores the file (or archive) that a unit's definition lies in from its backup; where that file
/// is gone or cannot be read, from the backup in a mod that has the definition. Throws RequestError
/// "could not resolve source for NAME", "backup is damaged: …" or what restoreFromBackup throws.
RestoredSource restoreUnitSource(UnitViewSession& session, const std::string& name);

}  // namespace orb::unitview
