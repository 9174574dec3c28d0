#include <algorithm>

#include <fmt/format.h>

#include "cob/cob_line_starts.h"
#include "server/base64.h"
#include "server/handlers/decode_cob.h"
#include "server/handlers/encode_cob.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr std::int64_t kMaxTicksPerRequest = 60;

json threadCount(CobSession& cob) {
    return {{"threadCount", cob.requireInstance().threads.size()}};
}

/// A reply, with the report that was asked for.
Reply replyWith(UnitViewSession& session, json data, bool withReport) {
    if (withReport) data["report"] = encodeReport(session);
    return {std::move(data)};
}

Reply resume(UnitViewSession& session, const Payload& payload, CobResumeMode mode) {
    const bool withReport = decodeReport(payload);
    return reportingFailure([&] {
        session.cob().debugger().resume(mode);
        return replyWith(session, json::object(), withReport);
    });
}

/// Moves breakpoints on lines to where code begins, and adds its offset to `offsets`.
json placeLines(std::span<const std::uint32_t> lines, const CobLineStarts& starts,
                std::set<std::uint32_t>& offsets) {
    json breakpoints = json::array();
    for (const std::uint32_t line : lines) {
        const auto start = starts.atOrAfter(line);
        if (!start) {
            breakpoints.push_back({{"line", line}, {"isVerified", false}});
            continue;
        }
        offsets.insert(start->offset);
        breakpoints.push_back(
            {{"line", start->line}, {"offset", start->offset}, {"isVerified", true}});
    }
    return breakpoints;
}

json describeScript(CobSession& cob) {
    const CobInstance& instance = cob.requireInstance();
    return {{"threadCount", instance.threads.size()},
            {"scripts", io::scriptNames(instance.file())},
            {"pieceCount", instance.file().pieces.size()}};
}

}  // namespace

Reply cobReset(UnitViewSession& session, const Payload& payload) {
    const bool withReport = decodeReport(payload);
    return reportingFailure([&] {
        session.resetScript();
        return replyWith(session, threadCount(session.cob()), withReport);
    });
}

Reply cobStopAll(UnitViewSession& session, const Payload&) {
    return reportingFailure([&]() -> Reply {
        session.cob().debugger().stopAll();
        return {threadCount(session.cob())};
    });
}

Reply cobStart(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    std::vector<std::int32_t> arguments;
    for (const std::int64_t value : payload.integers("args").value_or(std::vector<std::int64_t>{}))
        arguments.push_back(static_cast<std::int32_t>(value));
    const bool withReport = decodeReport(payload);
    requireFilled("script name", name);
    return reportingFailure([&] {
        session.cob().debugger().startScript(*name, arguments);
        Reply started = replyWith(session, json::object(), withReport);
        if (withReport)
            started.data["report"]["threadId"] = session.cob().requireInstance().threads.back()->id;
        return started;
    });
}

Reply cobTick(UnitViewSession& session, const Payload& payload) {
    const std::int64_t ticks =
        std::clamp<std::int64_t>(payload.integer("ticks").value_or(1), 1, kMaxTicksPerRequest);
    const auto script = payload.text("script");
    const bool withReport = decodeReport(payload);
    return reportingFailure([&] {
        session.cob().requireInstance();
        CobDebugger& debugger = session.cob().debugger();
        debugger.advanceTicks(static_cast<int>(ticks));
        json data = json::object();
        if (script) data["scriptRunning"] = debugger.isScriptRunning(*script);
        return replyWith(session, std::move(data), withReport);
    });
}

Reply cobContinue(UnitViewSession& session, const Payload& payload) {
    return resume(session, payload, CobResumeMode::run);
}

Reply cobStepInstruction(UnitViewSession& session, const Payload& payload) {
    return resume(session, payload, CobResumeMode::stepInstruction);
}

Reply cobStepLine(UnitViewSession& session, const Payload& payload) {
    return resume(session, payload, CobResumeMode::stepLine);
}

Reply cobSetBreakpoints(UnitViewSession& session, const Payload& payload) {
    BreakpointRequest request = decodeBreakpoints(payload);
    Reply reply;
    if (request.lines)
        reply.data["breakpoints"] =
            placeLines(*request.lines, CobLineStarts(request.spans), request.offsets);
    session.cob().debugger().setBreakpoints(std::move(request.offsets), request.spans,
                                            std::move(request.files));
    return reply;
}

Reply cobClearBreakpoints(UnitViewSession& session, const Payload&) {
    session.cob().debugger().clearBreakpoints();
    return {};
}

Reply cobGetTrace(UnitViewSession& session, const Payload& payload) {
    const auto enable = payload.flag("enable");
    const bool clear = payload.flag("clear").value_or(false);
    const auto maxEntries = payload.integer("maxEntries").value_or(kMaxTraceEntries);
    const auto since = decodeCount(payload, "since");
    return reportingFailure([&]() -> Reply {
        CobInstance& instance = session.cob().requireInstance();
        if (since && *since > instance.trace.lastSeq())
            throw RequestError(fmt::format("since: {} lies behind the last entry, {}", *since,
                                           instance.trace.lastSeq()));
        if (enable) instance.trace.enable(*enable);
        json entries = encodeTrace(
            instance, static_cast<std::size_t>(std::max<std::int64_t>(maxEntries, 0)), since);
        if (clear) instance.trace.clear();
        return {{{"enabled", instance.trace.enabled()},
                 {"entryCount", entries.size()},
                 {"entries", std::move(entries)}}};
    });
}

Reply cobInspect(UnitViewSession& session, const Payload& payload) {
    const auto stackLimit = decodeCount(payload, "stackLimit").value_or(kMaxStackWords);
    const auto writes = decodeWrites(payload);
    return reportingFailure([&]() -> Reply {
        if (writes) session.cob().write(*writes);
        return {encodeInspection(session.cob(), stackLimit)};
    });
}

Reply cobLoadTemporary(UnitViewSession& session, const Payload& payload) {
    const auto encoded = payload.text("cob_b64");
    const bool withReport = decodeReport(payload);
    requireFilled("cob_b64", encoded);
    CobSession& cob = session.cob();
    reportingFailure([&] { cob.requireInstance(); });
    const io::Bytes file =
        reportingFailure([&] { return decodeBase64(*encoded); }, "failed to load temporary COB: ");
    return reportingFailure([&] {
        const bool isOnMap = session.loadTemporaryScript(file);
        json data = describeScript(cob);
        data["mapRespawned"] = isOnMap;
        return replyWith(session, std::move(data), withReport);
    });
}

Reply cobUnloadTemporary(UnitViewSession& session, const Payload& payload) {
    const bool withReport = decodeReport(payload);
    return reportingFailure([&] {
        session.resetScript();
        return replyWith(session, describeScript(session.cob()), withReport);
    });
}

}  // namespace orb::unitview::ipc::handlers
