#include "diagnostics/conflict_scan.h"

#include <array>

#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

std::string_view nameOf(ConflictKind kind) {
    static constexpr std::array<std::string_view, 8> kWords = {
        "unit-name-collision", "weapon-name-collision", "missing-3do",        "missing-cob",
        "missing-buildpic",    "missing-corpse",        "missing-weapon-ref", "missing-explode-as"};
    return kWords.at(static_cast<std::size_t>(kind));
}

json encodeConflict(const ConflictFinding& finding) {
    json result = {
        {"kind", nameOf(finding.kind)},
        {"severity", severityOf(finding.kind) == ConflictSeverity::warn ? "warn" : "info"},
        {"detail", finding.detail}};
    if (!finding.unitName.empty()) result["unitName"] = finding.unitName;
    if (!finding.unitFile.empty()) result["unitFile"] = finding.unitFile;
    if (!finding.asset.empty()) result["asset"] = finding.asset;
    if (!finding.files.empty()) result["files"] = finding.files;
    return result;
}

}  // namespace

Reply conflictScan(UnitViewSession& session, const Payload& payload) {
    const io::Progress progress = payload.progress();
    const MountedData& data = session.data();
    json findings = json::array();
    for (const ConflictFinding& finding : scanConflicts(data, progress))
        findings.push_back(encodeConflict(finding));
    return {{{"findings", std::move(findings)}, {"unitCount", data.catalogue.roster().size()}}};
}

}  // namespace orb::unitview::ipc::handlers
