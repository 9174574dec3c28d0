#include <array>

#include "authoring/min_mod_pack.h"
#include "authoring/mod_pack.h"
#include "diagnostics/pack_validation.h"
#include "io/path_text.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/archive_browser.h"
#include "session/request_error.h"
#include "session/unit_dependencies.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr const char* kDefaultCompression = "zlib";

json encodeRoles(const std::set<DependencyRole>& roles) {
    json names = json::array();
    for (const DependencyRole role : roles) names.push_back(nameOf(role));
    return names;
}

json encodeMissing(const std::vector<MissingDependency>& missing) {
    json rows = json::array();
    for (const MissingDependency& row : missing)
        rows.push_back({{"role", nameOf(row.role)}, {"name", row.name}, {"usedBy", row.usedBy}});
    return rows;
}

json encodeLeftOut(const std::vector<LeftOutFile>& files) {
    json rows = json::array();
    for (const auto& [path, reason] : files) rows.push_back({{"path", path}, {"reason", reason}});
    return rows;
}

json encodePack(const WrittenPack& pack) {
    json data = {{"path", io::textFromPath(pack.path)},
                 {"fileCount", pack.fileCount},
                 {"byteSize", pack.byteSize}};
    addReload(data, pack.reload);
    if (pack.warning) data["warning"] = *pack.warning;
    return data;
}

/// What the members of a request say of the pack to be written.
struct PackMembers {
    explicit PackMembers(const Payload& payload)
        : destination(payload.path("destination")),
          overwrite(payload.flag("overwrite").value_or(false)),
          compression(payload.text("compression").value_or(kDefaultCompression)) {}

    PackRequest request() const {
        return {requireFilled("destination", destination), overwrite,
                compressionNamed(compression)};
    }

    std::optional<std::filesystem::path> destination;
    bool overwrite;
    std::string compression;
};

std::string_view nameOf(PackSeverity severity) {
    static constexpr std::array<std::string_view, 3> kWords = {"error", "warning", "info"};
    return kWords.at(static_cast<std::size_t>(severity));
}

json encodeFinding(const PackFinding& finding) {
    json row = {{"severity", nameOf(finding.severity)},
                {"code", finding.code},
                {"message", finding.message}};
    if (!finding.path.empty()) row["path"] = finding.path;
    if (!finding.unit.empty()) row["unit"] = finding.unit;
    return row;
}

}  // namespace

Reply unitDeps(UnitViewSession& session, const Payload& payload) {
    auto units = payload.texts("units");
    const auto name = textOption(payload, "name");
    const bool recursive = payload.flag("recursive").value_or(false);
    if (units && name) throw RequestError("units and name exclude each other");
    if (name) units = {requireFilled("unit name", name)};
    if (!units) units = {session.requireUnit().definitionName()};
    const UnitDependencies found = findUnitDependencies(session.data(), *units, recursive);
    json files = json::array(), damaged = json::array();
    for (const Dependency& file : found.files)
        files.push_back({{"path", file.path},
                         {"roles", encodeRoles(file.roles)},
                         {"usedBy", file.usedBy},
                         {"source", encodeSource(file.source)},
                         {"size", file.size}});
    for (const auto& [path, message] : found.damaged)
        damaged.push_back({{"path", path}, {"message", message}});
    return {{{"units", found.units},
             {"files", std::move(files)},
             {"missing", encodeMissing(found.missing)},
             {"damaged", std::move(damaged)},
             {"totalSize", found.totalSize()}}};
}

Reply exportModPack(UnitViewSession& session, const Payload& payload) {
    const auto modPath = payload.path("modPath");
    const PackMembers members(payload);
    const io::Progress progress = payload.progress();
    const ModPackResult result =
        unitview::exportModPack(session, modPath, members.request(), progress);
    json data = encodePack(result.pack);
    data["leftOut"] = encodeLeftOut(result.leftOut);
    return {std::move(data)};
}

Reply exportMinModPack(UnitViewSession& session, const Payload& payload) {
    const auto units = payload.texts("units");
    const bool recursive = payload.flag("recursive").value_or(false);
    const PackMembers members(payload);
    const io::Progress progress = payload.progress();
    const MinPackRequest request{requireFilled("units", units), recursive, members.request()};
    const MinPackResult result = unitview::exportMinModPack(session, request, progress);
    json data = encodePack(result.pack);
    data["files"] = json::array();
    for (const MinPackFile& file : result.files)
        data["files"].push_back({{"path", file.path},
                                 {"roles", encodeRoles(file.roles)},
                                 {"usedBy", file.usedBy},
                                 {"size", file.size}});
    data["leftOut"] = encodeLeftOut(result.leftOut);
    data["missing"] = encodeMissing(result.missing);
    data["warnings"] = result.warnings;
    return {std::move(data)};
}

Reply validateModPack(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const io::Progress progress = payload.progress();
    requireFilled("path", path);
    const MountedData& data = session.data();
    const PackValidation report = unitview::validateModPack(
        resolveArchivePath(*path, data.roots), data.request.taDataPath, data.palette, progress);
    json findings = json::array(), units = json::array();
    for (const PackFinding& finding : report.findings) findings.push_back(encodeFinding(finding));
    for (const PackUnit& unit : report.units)
        units.push_back({{"name", unit.name},
                         {"isReady", unit.isReady},
                         {"missing", unit.missing},
                         {"warnings", unit.warnings}});
    return {{{"path", io::textFromPath(*path)},
             {"isValid", report.isValid()},
             {"fileCount", report.fileCount},
             {"unitCount", report.units.size()},
             {"findings", std::move(findings)},
             {"units", std::move(units)}}};
}

}  // namespace orb::unitview::ipc::handlers
