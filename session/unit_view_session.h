#pragma once

#include <filesystem>
#include <functional>
#include <memory>
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
    /// files is, or has become, its definition, model or script; a working model stays when that
    /// model reads as it was saved. References into `data()` end. Returns why that unit cannot be
    /// loaded any more (it is not loaded then), or none.
    std::optional<std::string> refreshAfterWrite(std::span<const io::FileLocation> written);
    std::optional<std::string> refreshAfterWrite(const io::FileLocation& written) {
        return refreshAfterWrite({&written, 1});
    }

    /// Loads a unit in place of the loaded one. Throws RequestError: "unit name is required" and
    /// "data roots not set" leave the loaded unit, any other failure leaves none.
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
    /// The edits of the loaded unit's model, or null. They end with load-unit and clear-data-roots.
    const WorkingModel* workingModel() const { return workingModel_ ? &*workingModel_ : nullptr; }
    /// Runs `edit` with the edits, which begin here without any, and lets the script's pieces
    /// follow the names. Without a step in the end there are none again.
    void editModel(const std::function<void(WorkingModel&)>& edit);
    /// Drops the edits; false when there were none.
    bool revertModel();
    /// The working model was written to this file, which refreshAfterWrite is told of next.
    void takeModelAsSaved(const UnitSource& file);
    /// Takes over that the working model was written to a file, as refreshAfterWrite does.
    std::optional<std::string> refreshAfterModelWrite(const UnitSource& written);

    /// Loads a map in place of the loaded one. Throws RequestError: "map name is required", "data
    /// roots not set" or what `unitview::loadMap` throws; then the loaded map stays.
    const LoadedMap& loadMap(const MapRequest& request);
    /// Drops the loaded map; false when there was none.
    bool exitMap();
    /// The loaded map. Throws RequestError "no map loaded; call map-load first".
    LoadedMap& requireMap() const;

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
    void reloadUnit();

    std::unique_ptr<MountedData> data_;
    LintSuppressions lintSuppressions_;
    std::optional<LoadedUnit> unit_;
    std::optional<WorkingModel> workingModel_;
    CobSession cob_;
    std::unique_ptr<LoadedMap> map_;
};

}  // namespace orb::unitview
