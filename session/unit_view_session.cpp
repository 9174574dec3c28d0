#include "session/unit_view_session.h"

#include <algorithm>

#include "io/path_text.h"
#include "server/logger.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

void requireUnitName(const std::string& name) {
    if (name.empty()) throw RequestError("unit name is required");
}

}  // namespace

const MountedData& UnitViewSession::setDataRoots(const DataRootsRequest& request,
                                                 const io::Progress& progress) {
    auto mounted = mountDataRoots(request, palette(), progress);
    lintSuppressions_ = loadLintSuppressions(mounted->roots);
    data_ = std::move(mounted);
    LogLine(LogLevel::info) << "[mount] " << data_->files.layers().size() << " layers, "
                            << data_->catalogue.roster().size() << " units";
    return *data_;
}

void UnitViewSession::mountAgain() {
    setDataRoots(data().request);
}

void UnitViewSession::clearDataRoots() {
    unloadUnit();
    data_.reset();
    lintSuppressions_ = {};
}

void UnitViewSession::unloadUnit() {
    cob_.clear();
    unit_.reset();
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
        throw RequestError(error.what());
    }
}

bool UnitViewSession::isLoadedFrom(const io::FileLocation& written) const {
    if (!unit_ || !unit_->source) return false;
    const io::FileLocation& source = unit_->source->location;
    return source.path == written.path &&
           (written.internalPath.empty() || source.internalPath == written.internalPath);
}

std::optional<std::string> UnitViewSession::refreshAfterWrite(const io::FileLocation& written) {
    try {
        std::vector<const io::VfsLayer*> reopened;
        if (written.kind == io::FileLocation::Kind::archive)
            reopened = data_->files.reopenArchive(written.path);
        // Loose files can change at any time; an archive's only when it is opened again.
        data_->readAgain([&](const io::VfsLayer& layer) {
            return layer.kind == io::FileLocation::Kind::loose ||
                   std::ranges::find(reopened, &layer) != reopened.end();
        });
    } catch (const std::exception& error) {
        // What was written is written; the next mount tells more.
        LogLine(LogLevel::warn) << "[refresh] " << io::textFromPath(written.path) << ": "
                                << error.what();
    }
    if (!isLoadedFrom(written)) return std::nullopt;
    try {
        loadUnit(fileStem(unit_->source->location));
    } catch (const RequestError& error) {
        LogLine(LogLevel::warn) << "[refresh] unit unloaded: " << error.what();
        return error.what();
    }
    return std::nullopt;
}

LoadedUnit UnitViewSession::readUnit(const std::string& name, UnitFaults* faults) const {
    requireUnitName(name);
    const MountedData& mounted = data();
    return reportingFailure(
        [&] { return readUnitFiles(mounted.files, mounted.catalogue, name, faults); });
}

const LoadedUnit& UnitViewSession::loadUnit(const std::string& name) {
    requireUnitName(name);
    const MountedData& mounted = data();
    unloadUnit();
    try {
        unit_ = loadUnitFiles(mounted.files, mounted.catalogue, name);
        cob_.setUnit(*unit_);
    } catch (const std::exception& error) {
        unloadUnit();
        throw RequestError(error.what());
    }
    return *unit_;
}

}  // namespace orb::unitview
