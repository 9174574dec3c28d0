#include "io/path_text.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

constexpr const char* kUnitScope = "unit";
constexpr const char* kGlobalScope = "global";

Reply changeSuppression(UnitViewSession& session, const Payload& payload, bool isSuppressed) {
    const std::string unitName = payload.text("unitName").value_or("");
    const auto code = payload.text("code");
    const std::string target = payload.text("target").value_or("");
    const std::string scope = payload.text("scope").value_or(kUnitScope);
    const bool isGlobal = scope == kGlobalScope;
    if (!isGlobal && scope != kUnitScope) throw RequestError("scope must be 'unit' or 'global'");
    requireFilled("code", code);
    if (!isGlobal && unitName.empty())
        throw RequestError("unitName is required for unit-scoped suppression");

    const auto unit = isGlobal ? std::nullopt : std::optional(unitName);
    const auto path = session.setLintSuppressed({unit, *code, target}, isSuppressed);
    Reply reply{{{"unitName", unitName}, {"code", *code}, {"target", target}, {"scope", scope}}};
    if (path) reply.data["resolvedPath"] = io::textFromPath(*path);
    return reply;
}

}  // namespace

Reply lintSuppress(UnitViewSession& session, const Payload& payload) {
    return changeSuppression(session, payload, true);
}

Reply lintUnsuppress(UnitViewSession& session, const Payload& payload) {
    return changeSuppression(session, payload, false);
}

}  // namespace orb::unitview::ipc::handlers
