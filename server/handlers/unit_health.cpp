#include "diagnostics/unit_health.h"

#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

json encodeRow(const HealthRow& row) {
    json result = {{"category", row.category},
                   {"ref", row.ref},
                   {"status", statusWord(row.status)},
                   {"detail", row.detail}};
    if (row.action) {
        result["action"] = row.action->members;
        result["action"]["kind"] = row.action->kind;
    }
    return result;
}

json encodeHealth(const UnitHealth& report) {
    json checks = json::array(), keys = json::array();
    for (const HealthRow& row : report.rows) checks.push_back(encodeRow(row));
    for (const auto& [key, value] : report.rawFbiKeys)
        keys.push_back({{"key", key}, {"value", value}});
    json result = {{"unit", report.unit},
                   {"checks", std::move(checks)},
                   {"rawFbiKeys", std::move(keys)},
                   {"summary",
                    {{"missing", report.missing},
                     {"warnings", report.warnings},
                     {"ready", report.isReady()},
                     {"verdict", report.verdict()}}}};
    if (report.source) result["source"] = encodeSource(*report.source);
    return result;
}

}  // namespace

Reply unitHealth(UnitViewSession& session, const Payload&) {
    const LoadedUnit& unit = session.requireUnit();
    return reportingFailure(
        [&]() -> Reply {
            return {
                encodeHealth(checkUnitHealth(session.data(), unit, session.lintSuppressions()))};
        },
        "unit-health failed: ");
}

}  // namespace orb::unitview::ipc::handlers
