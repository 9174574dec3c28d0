#include "session/unit_view_session.h"

#include <algorithm>
#include <new>
#include <set>
#include <utility>

#include "io/ascii.h"
#include "io/files/write_plan.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "model/edit/model_values.h"
#include "model/piece_list.h"
#include "server/logger.h"
#include "session/map_play.h"
#include "session/model_file.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// An empty internal path stands for all entries of an archive.
bool isSameFile(const io::FileLocation& file, const io::FileLocation& written) {
    return file.path == written.path &&
           (written.internalPath.empty() || file.internalPath == written.internalPath);
}

/// An edit of a mod that died on the way is finished before the mod is mounted.
void finishWrites(const fs::path& mod, std::span<const fs::path> mods) {
    using io::UnfinishedWrite;
    const UnfinishedWrite unfinished = io::finishWrite(io::systemFileOps(), mod, mods);
    if (unfinished == UnfinishedWrite::none) return;
    LogLine(LogLevel::warn) << "[mount] an edit in " << io::textFromPath(mod)
                            << (unfinished == UnfinishedWrite::finished
                                    ? " that had been interrupted is finished"
                                : unfinished == UnfinishedWrite::undone
                                    ? " that had failed and been interrupted is undone"
                                : unfinished == UnfinishedWrite::busy
                                    ? " is under way in another editor"
                                    : " was interrupted and cannot be finished");
}

/// What has been written must be read again. When the memory gives out, some more is set free that
/// was kept for need.
template <typename Operation>
auto insisting(Operation&& operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return operation();
    }
}

/// Tells an archive on disk from what has taken its place.
ArchiveStamp stampOf(const io::VfsLayer& layer) {
    if (layer.kind != io::FileLocation::Kind::archive) return {};
    std::error_code error;
    return {fs::file_size(layer.path, error), fs::last_write_time(layer.path, error)};
}

void requireUnitName(const std::string& name) {
    if (name.empty()) throw RequestError("unit name is required");
}

}  // namespace

const MountedData& UnitViewSession::setDataRoots(const DataRootsRequest& request,
                                                 const io::Progress& progress) {
    mount(request, progress);
    map_.reset();
    return *data_;
}

void UnitViewSession::mountAgain(const DataRootsRequest& request) {
    mount(request, {});
    if (map_) map_->forgetTypes();
}

void UnitViewSession::mount(const DataRootsRequest& request, const io::Progress& progress) {
    for (const fs::path& mod : request.modPaths) finishWrites(mod, request.modPaths);
    auto mounted = mountDataRoots(request, palette(), progress);
    lintSuppressions_ = loadLintSuppressions(mounted->roots);
    data_ = std::move(mounted);
    archiveStamps_.assign(data_->files.layers().size(), {});
    stampArchives();
    LogLine(LogLevel::info) << "[mount] " << data_->files.layers().size() << " layers, "
                            << data_->catalogue.roster().size() << " units";
}

void UnitViewSession::stampArchives() {
    const auto layers = data_->files.layers();
    for (std::size_t i = 0; i < layers.size(); ++i) archiveStamps_[i] = stampOf(layers[i]);
}

void UnitViewSession::followArchives() {
    if (!data_) return;
    try {
        std::vector<io::FileLocation> changed;
        const auto layers = data_->files.layers();
        for (std::size_t i = 0; i < layers.size(); ++i)
            if (stampOf(layers[i]) != archiveStamps_[i])
                changed.push_back({layers[i].kind, layers[i].path, {}});
        if (changed.empty()) return;
        stampArchives();
        readAgain(changed);
        if (map_) map_->forgetTypes();
    } catch (const std::exception& error) {  // without memory; the next request may have some
        LogLine(LogLevel::warn) << "[refresh] " << error.what();
    }
}

void UnitViewSession::clearDataRoots() {
    unloadUnit();
    waitingEdits_.reset();
    data_.reset();
    map_.reset();
    lintSuppressions_ = {};
}

bool UnitViewSession::loadTemporaryScript(io::ByteView file) {
    cob_.loadTemporary(file);
    return map_ && replaceMapScripts(*map_, unit_->name, cob_.instance()->sharedFile(), true);
}

void UnitViewSession::resetScript() {
    cob_.requireInstance();
    endTemporaryScript();
    cob_.reset();
}

/// On the map; the script of the loaded unit itself is the caller's matter.
void UnitViewSession::endTemporaryScript() {
    if (map_ && unit_ && cob_.instance() && !cob_.runsUnitScript())
        replaceMapScripts(*map_, unit_->name, unit_->cob, false);
}

void UnitViewSession::unloadUnit() {
    endTemporaryScript();
    cob_.clear();
    workingModel_.reset();
    unit_.reset();
}

void UnitViewSession::load(const std::string& name) {
    const MountedData& mounted = data();
    std::optional<LoadedUnit> loaded;
    try {
        loaded = loadUnitFiles(mounted.files, mounted.catalogue, name);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);  // which leaves the unit that there is
        unloadUnit();
        throw RequestError(error.what());
    }
    unloadUnit();
    unit_ = std::move(loaded);
    try {
        cob_.setUnit(*unit_);
    } catch (const std::exception& error) {
        unloadUnit();
        io::rethrowOutOfMemory(error);
        throw RequestError(error.what());
    }
}

const MountedData& UnitViewSession::data() const {
    if (!data_) throw RequestError("data roots not set");
    return *data_;
}

const io::Palette& UnitViewSession::palette() const {
    static const io::Palette kNoPalette = io::greyscaleRamp();
    return data_ ? data_->palette : kNoPalette;
}

const LoadedUnit& UnitViewSession::requireUnit() const {
    if (!unit_) throw RequestError("no unit loaded; call load-unit first");
    return *unit_;
}

const io::Model3doObject& UnitViewSession::requireModel() const {
    const LoadedUnit& unit = requireUnit();
    return workingModel_ ? workingModel_->model() : unit.model;
}

void UnitViewSession::editModel(const std::function<void(WorkingModel&)>& edit) {
    const LoadedUnit& unit = requireUnit();
    std::optional<WorkingModel> begun;
    if (!workingModel_) begun.emplace(unit.model, unit.modelVersion);
    edit(begun ? *begun : *workingModel_);
    // A model too large for a history is edited all the same.
    if (begun && (begun->hasEdits() || begun->isDirty())) workingModel_ = std::move(begun);
    cob_.setModelPieces(pieceNames(requireModel()));
}

bool UnitViewSession::revertModel() {
    const LoadedUnit& unit = requireUnit();
    const bool hadEdits = workingModel_.has_value();
    workingModel_.reset();
    cob_.setModelPieces(pieceNames(unit.model));
    return hadEdits;
}

void UnitViewSession::takeModelAsSaved(const UnitSource& file, const std::string& version) {
    if (workingModel_) workingModel_->markSaved(version);
    // It may have been loaded from elsewhere, before other roots were set.
    if (unit_) unit_->modelSource = file;
}

UnitSource UnitViewSession::resolveUnitSource(const std::string& name) const {
    requireUnitName(name);
    if (!data_) throw RequestError("VFS not mounted; call setDataRoots first");
    if (auto source =
            findSource(data_->files, definitionPath(data_->files, data_->catalogue, name)))
        return *source;
    throw sourceNotFound(name);
}

std::optional<std::filesystem::path> UnitViewSession::setLintSuppressed(const LintSuppression& rule,
                                                                        bool isSuppressed) {
    if (isSuppressed)
        lintSuppressions_.add(rule);
    else
        lintSuppressions_.remove(rule);
    if (!data_) return std::nullopt;
    try {
        return saveLintSuppressions(lintSuppressions_, data_->roots);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw RequestError(error.what());
    }
}

bool UnitViewSession::isLoadedFrom(const io::FileLocation& written) const {
    return unit_ && unit_->source &&
           (isSameFile(unit_->source->location, written) ||
            (unit_->modelSource && isSameFile(unit_->modelSource->location, written)));
}

// Whatever may come to the unit's files, edits that are not saved are work of hours.
bool UnitViewSession::takeUp(WaitingEdits edits) {
    WorkingModel& working = edits.model;
    const auto isSameFile = [&] {
        if (!io::equalsIgnoringCase(edits.unitName, unit_->name) ||
            edits.modelSource.has_value() != unit_->modelSource.has_value())
            return false;
        return !edits.modelSource ||
               isSamePlace(edits.modelSource->location, unit_->modelSource->location);
    };
    if (isSameModel(working.saved(), unit_->model))
        working.setSavedVersion(unit_->modelVersion);
    else if (!working.isDirty() || !isSameFile())
        return false;
    else
        working.setSavedReplaced();
    workingModel_ = std::move(working);
    cob_.setModelPieces(pieceNames(workingModel_->model()));
    return true;
}

/// False when edits have ended.
bool UnitViewSession::reloadUnit() {
    std::optional<WaitingEdits> edits;
    if (workingModel_)
        edits = {unit_->name, unit_->modelSource, *std::exchange(workingModel_, std::nullopt)};
    const std::string name = fileStem(unit_->source->location);
    try {
        insisting([&] { load(name); });
    } catch (...) {
        unloadUnit();
        waitingEdits_ = std::move(edits);
        throw;
    }
    return !edits || takeUp(std::move(*edits));
}

bool UnitViewSession::wouldLoadFrom(const io::FileLocation& written) const {
    if (!unit_ || !unit_->source || unit_->loadedFromIR) return false;
    const io::CompositeVirtualFileSystem& files = data_->files;
    const auto isIt = [&](const std::string& path) {
        const auto found = files.locate(path);
        return found && isSameFile(*found, written);
    };
    return isIt(definitionPath(files, data_->catalogue, unit_->definitionName())) ||
           isIt(io::kModelFiles.path(modelFileName(files, unit_->fbi.objectName))) ||
           isIt(scriptPath(unit_->fbi, unit_->name));
}

void UnitViewSession::readAgain(std::span<const io::FileLocation> written) {
    std::set<fs::path> archives;
    for (const io::FileLocation& file : written)
        if (file.kind == io::FileLocation::Kind::archive) archives.insert(file.path);
    const auto read = [&] {
        std::vector<const io::VfsLayer*> reopened;
        for (const fs::path& archive : archives)
            for (const io::VfsLayer* layer : data_->files.reopenArchive(archive))
                reopened.push_back(layer);
        // Loose files can change at any time; an archive's only when it is opened again.
        data_->readAgain([&](const io::VfsLayer& layer) {
            return layer.kind == io::FileLocation::Kind::loose ||
                   std::ranges::find(reopened, &layer) != reopened.end();
        });
    };
    try {
        insisting(read);
    } catch (const std::exception& error) {
        // What was written is written; the next mount tells more.
        LogLine(LogLevel::warn) << "[refresh] " << io::textFromPath(written.front().path) << ": "
                                << error.what();
    }
}

Reload UnitViewSession::refreshAfterWrite(std::span<const io::FileLocation> written) {
    if (written.empty()) return {};
    stampArchives();
    readAgain(written);
    if (map_) map_->forgetTypes();
    const auto isOfUnit = [&](const io::FileLocation& file) {
        return isLoadedFrom(file) || wouldLoadFrom(file);
    };
    try {
        if (insisting([&] { return std::ranges::none_of(written, isOfUnit); })) return {};
        return {.endedEdits = !reloadUnit()};
    } catch (const std::exception& error) {  // even without memory: what is written is written
        LogLine(LogLevel::warn) << "[refresh] unit unloaded: " << error.what();
        return {error.what()};
    }
}

const LoadedMap& UnitViewSession::loadMap(const MapRequest& request, const io::Progress& progress) {
    if (request.name.empty()) throw RequestError("map name is required");
    const MountedData& mounted = data();
    map_ = reportingFailure([&] { return unitview::loadMap(mounted, request, progress); });
    if (unit_ && cob_.instance() && !cob_.runsUnitScript())
        replaceMapScripts(*map_, unit_->name, cob_.instance()->sharedFile(), true);
    return *map_;
}

bool UnitViewSession::exitMap() {
    return std::exchange(map_, nullptr) != nullptr;
}

LoadedMap& UnitViewSession::requireMap() const {
    if (!map_) throw RequestError("no map loaded; call map-load first");
    return *map_;
}

LoadedUnit UnitViewSession::readUnit(const std::string& name, UnitFaults* faults) const {
    requireUnitName(name);
    const MountedData& mounted = data();
    return reportingFailure(
        [&] { return readUnitFiles(mounted.files, mounted.catalogue, name, faults); });
}

const LoadedUnit& UnitViewSession::loadUnit(const std::string& name) {
    requireUnitName(name);
    load(name);
    if (auto edits = std::exchange(waitingEdits_, std::nullopt);
        edits && io::equalsIgnoringCase(edits->unitName, unit_->name))
        takeUp(std::move(*edits));
    return *unit_;
}

}  // namespace orb::unitview
