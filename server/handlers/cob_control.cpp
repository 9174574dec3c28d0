#include <algorithm>
#include <limits>

#include "server/base64.h"
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

/// A word index into the code.
std::uint32_t decodeOffset(std::int64_t value) {
    if (value < 0 || value > std::numeric_limits<std::uint32_t>::max())
        throw PayloadError("code offsets and lines must lie in 0 to 4294967295");
    return static_cast<std::uint32_t>(value);
}

Reply resume(UnitViewSession& session, CobResumeMode mode) {
    return reportingFailure([&]() -> Reply {
        session.cob().debugger().resume(mode);
        return {};
    });
}

json describeScript(CobSession& cob) {
    const CobInstance& instance = cob.requireInstance();
    return {{"threadCount", instance.threads.size()},
            {"scripts", io::scriptNames(instance.file())},
            {"pieceCount", instance.file().pieces.size()}};
}

}  // namespace

Reply cobReset(UnitViewSession& session, const Payload&) {
    return reportingFailure([&]() -> Reply {
        session.cob().reset();
        return {threadCount(session.cob())};
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
    requireFilled("script name", name);
    return reportingFailure([&]() -> Reply {
        session.cob().debugger().startScript(*name, arguments);
        return {};
    });
}

Reply cobTick(UnitViewSession& session, const Payload& payload) {
    const std::int64_t ticks =
        std::clamp<std::int64_t>(payload.integer("ticks").value_or(1), 1, kMaxTicksPerRequest);
    const auto script = payload.text("script");
    return reportingFailure([&]() -> Reply {
        session.cob().requireInstance();
        CobDebugger& debugger = session.cob().debugger();
        debugger.advanceTicks(static_cast<int>(ticks));
        Reply reply;
        if (script) reply.data["scriptRunning"] = debugger.isScriptRunning(*script);
        return reply;
    });
}

Reply cobContinue(UnitViewSession& session, const Payload&) {
    return resume(session, CobResumeMode::run);
}

Reply cobStepInstruction(UnitViewSession& session, const Payload&) {
    return resume(session, CobResumeMode::stepInstruction);
}

Reply cobStepLine(UnitViewSession& session, const Payload&) {
    return resume(session, CobResumeMode::stepLine);
}

Reply cobSetBreakpoints(UnitViewSession& session, const Payload& payload) {
    std::set<std::uint32_t> offsets;
    for (const auto offset : payload.integers("offsets").value_or(std::vector<std::int64_t>{}))
        offsets.insert(decodeOffset(offset));
    std::vector<CobLineSpan> spans;
    for (const Payload& span : payload.objects("lineSpans").value_or(std::vector<Payload>{}))
        spans.push_back({decodeOffset(span.requiredInteger("from")),
                         decodeOffset(span.requiredInteger("to")),
                         decodeOffset(span.requiredInteger("line"))});
    session.cob().debugger().setBreakpoints(std::move(offsets), spans);
    return {};
}

Reply cobClearBreakpoints(UnitViewSession& session, const Payload&) {
    session.cob().debugger().clearBreakpoints();
    return {};
}

Reply cobGetTrace(UnitViewSession& session, const Payload& payload) {
    const auto enable = payload.flag("enable");
    const bool clear = payload.flag("clear").value_or(false);
    const auto maxEntries = payload.integer("maxEntries").value_or(kMaxTraceEntries);
    return reportingFailure([&]() -> Reply {
        CobInstance& instance = session.cob().requireInstance();
        if (enable) instance.trace.enable(*enable);
        json entries =
            encodeTrace(instance, static_cast<std::size_t>(std::max<std::int64_t>(maxEntries, 0)));
        if (clear) instance.trace.clear();
        return {{{"enabled", instance.trace.enabled()},
                 {"entryCount", entries.size()},
                 {"entries", std::move(entries)}}};
    });
}

Reply cobInspect(UnitViewSession& session, const Payload&) {
    return reportingFailure([&]() -> Reply {
        return {encodeInspection(session.cob().requireInstance(), session.cob().debugger())};
    });
}

Reply cobLoadTemporary(UnitViewSession& session, const Payload& payload) {
    const auto encoded = payload.text("cob_b64");
    requireFilled("cob_b64", encoded);
    CobSession& cob = session.cob();
    reportingFailure([&] { cob.requireInstance(); });
    const io::Bytes file =
        reportingFailure([&] { return decodeBase64(*encoded); }, "failed to load temporary COB: ");
    return reportingFailure([&]() -> Reply {
        cob.loadTemporary(file);
        json data = describeScript(cob);
        // There are no units on a map whose scripts would have to be started anew.
        data["mapRespawned"] = false;
        return {std::move(data)};
    });
}

Reply cobUnloadTemporary(UnitViewSession& session, const Payload&) {
    return reportingFailure([&]() -> Reply {
        session.cob().reset();
        return {describeScript(session.cob())};
    });
}

}  // namespace orb::unitview::ipc::handlers
