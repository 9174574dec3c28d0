#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>

#include "io/formats/palette.h"
#include "io/progress.h"
#include "model/edit/working_model.h"
#include "session/cob_session.h"
#include "session/lint_suppressions.h"
#include "session/loaded_map.h"
#include "session/loaded_unit.h"
#include "session/mounted_data.h"

namespace orb::unitview {

/// What became of the loaded unit when files of its were written.
struct Reload {
    /// Why it cannot be loaded any more; it is not loaded then, and the edits of its model wait.
    std::optional<std::string> error = {};
    /// The edits of its model have ended: its model is another one now.
    bool endedEdits = false;
};

/// Of an archive when it was opened.
struct ArchiveStamp {
    std::uintmax_t size = 0;
    std::filesystem::file_time_type time = {};
    bool operator==(const ArchiveStamp&) const = default;
};

/// Edits of a model while their unit is not loaded.
struct WaitingEdits {
    std::string unitName;
    /// None for a unit from its IR document.
    std::optional<UnitSource> modelSource;
    WorkingModel model;
};

/// The one session of the process: the mounted game data, the loaded unit and what hangs from them.
/// Message handlers borrow from it for the length of one request.
class UnitViewSession {
public:
    /// Mounts the roots and reads catalogue and tables, then replaces what was mounted before; the
    /// loaded unit stays, a loaded map does not. Throws std::invalid_argument "taDataPath must not
    /// be empty" or what listing a root raises; then everything stays as it was.
    const MountedData& setDataRoots(const DataRootsRequest& request,
                                    const io::Progress& progress = {});

    /// Mounts the roots as they are now, changed by other programs or joined by another one; the
    /// loaded unit and map stay. Throws what setDataRoots throws.
    void mountAgain(const DataRootsRequest& request);

    /// Opens archives anew that other programs have changed since they were mounted. Never throws.
    void followArchives();

    /// Drops the mounted data, the loaded unit and the loaded map.
    void clearDataRoots();

    /// The mounted data. Throws RequestError "data roots not set".
    const MountedData& data() const;
    bool hasData() const { return data_ != nullptr; }

    /// Where a unit's definition file lives: the first layer's units/NAME.fbi, else the file that
    /// declares the name. Throws RequestError "unit name is required", "VFS not mounted; call
    /// setDataRoots first" or "could not locate source for NAME".
    UnitSource resolveUnitSource(const std::string& name) const;

    /// Takes over files that were written behind the mounted data: reopens the archives (an empty
    /// internal path stands for all entries), reads catalogue and tables anew where files may have
    /// changed (those archives and all loose files), and reloads the loaded unit when one of the
    /// files is, or has become, its definition, model or script. A working model stays when the
    /// model reads as it was saved, and, with edits that are not saved, as long as the model's file
    /// is the same, whatever is in it now. References into `data()` end.
    Reload refreshAfterWrite(std::span<const io::FileLocation> written);
    Reload refreshAfterWrite(const io::FileLocation& written) {
        return refreshAfterWrite({&written, 1});
    }

    /// Loads a unit in place of the loaded one, whose edits end. Edits that wait since their unit
    /// could not be loaded again are taken up with it, or end with another one. Throws
    /// RequestError: "unit name is required" and "data roots not set" leave the loaded unit, any
    /// other failure leaves none.
    const LoadedUnit& loadUnit(const std::string& name);

    /// Reads a unit for one request: nothing is loaded, logged or changed. Throws what loadUnit
    /// throws; with `faults` only that the unit is not there.
    LoadedUnit readUnit(const std::string& name, UnitFaults* faults = nullptr) const;

    /// The loaded unit or null.
    const LoadedUnit* unit() const { return unit_ ? &*unit_ : nullptr; }
    /// The loaded unit. Throws RequestError "no unit loaded; call load-unit first".
    const LoadedUnit& requireUnit() const;

    /// The loaded unit's model as it stands: the working model, else the one that was loaded.
    /// Throws as requireUnit does.
    const io::Model3doObject& requireModel() const;
    /// Edits of a unit that could not be loaded again wait for the next loadUnit.
    bool hasWaitingEdits() const { return waitingEdits_.has_value(); }
    /// The edits of the loaded unit's model, or null.
    const WorkingModel* workingModel() const { return workingModel_ ? &*workingModel_ : nullptr; }
    /// Runs `edit` with the edits, which begin here without any, and lets the script's pieces
    /// follow the names. Without a step in the end there are none again.
    void editModel(const std::function<void(WorkingModel&)>& edit);
    /// Drops the edits; false when there were none.
    bool revertModel();
    /// The working model was written to this file as the content of that version;
    /// refreshAfterWrite is told of the file next.
    void takeModelAsSaved(const UnitSource& file, const std::string& version);

    /// Loads a map in place of the loaded one. Throws RequestError: "map name is required", "data
    /// roots not set" or what `unitview::loadMap` throws; then the loaded map stays.
    const LoadedMap& loadMap(const MapRequest& request, const io::Progress& progress = {});
    /// Drops the loaded map; false when there was none.
    bool exitMap();
    /// The loaded map. Throws RequestError "no map loaded; call map-load first".
    LoadedMap& requireMap() const;
    /// Runs a change of the loaded map's world. One that the memory gave out for half way cannot go
    /// on: the map is dropped before std::bad_alloc is thrown on.
    template <typename Change>
    decltype(auto) changeMap(Change&& change) {
        LoadedMap& map = requireMap();
        try {
            return change(map);
        } catch (const std::bad_alloc&) {
            exitMap();
            throw;
        }
    }

    /// The loaded unit's running script.
    CobSession& cob() { return cob_; }
    /// Lets a script run in place of the loaded unit's own, for it and for the units of its name on
    /// the map; whether there are such. Throws what `CobSession::loadTemporary` throws.
    bool loadTemporaryScript(io::ByteView file);
    /// Ends that, and begins the loaded unit's own script anew. Throws what `CobSession::reset`
    /// throws.
    void resetScript();

    /// Read from the roots whenever they are set.
    const LintSuppressions& lintSuppressions() const { return lintSuppressions_; }
    /// Adds or removes a rule and writes the file in the first root, whose path it returns. Throws
    /// RequestError with the writer's text; the rules keep the change all the same.
    std::optional<std::filesystem::path> setLintSuppressed(const LintSuppression& rule,
                                                           bool isSuppressed);

    /// The mounted palette; greys without data roots.
    const io::Palette& palette() const;

private:
    void mount(const DataRootsRequest& request, const io::Progress& progress);
    void unloadUnit();
    void endTemporaryScript();
    void readAgain(std::span<const io::FileLocation> written);
    bool isLoadedFrom(const io::FileLocation& written) const;
    bool wouldLoadFrom(const io::FileLocation& written) const;
    bool reloadUnit();
    void load(const std::string& name);
    bool takeUp(WaitingEdits edits);
    void stampArchives();

    std::unique_ptr<MountedData> data_;
    LintSuppressions lintSuppressions_;
    std::optional<LoadedUnit> unit_;
    std::optional<WorkingModel> workingModel_;
    /// Of a unit that could not be loaded again.
    std::optional<WaitingEdits> waitingEdits_;
    /// By layer.
    std::vector<ArchiveStamp> archiveStamps_;
    CobSession cob_;
    std::unique_ptr<LoadedMap> map_;
};

}  // namespace orb::unitview
