#include "server/handlers/encode_cob.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "cob/unit_values.h"
#include "diagnostics/script_family.h"
#include "server/handlers/json_numbers.h"
#include "session/script_pause.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 5> kStateNames = {"run", "sleep", "wait-turn", "wait-move",
                                                         "dead"};

std::string_view stateName(CobThreadState state) {
    const auto code = static_cast<std::size_t>(state);
    return code < kStateNames.size() ? kStateNames[code] : "?";
}

json encodeVariables(std::span<const std::int32_t> values) {
    json result = json::array();
    for (std::size_t i = 0; i < values.size(); ++i)
        result.push_back({{"index", i}, {"value", values[i]}});
    return result;
}

json encodeCallStack(const CobInstance& instance, const CobThread& thread) {
    json result = json::array();
    for (const std::uint32_t pc : thread.returnPcs)
        result.push_back({{"script", instance.scriptNameAt(pc)}, {"scriptPc", pc}});
    return result;
}

json encodeThread(const CobInstance& instance, const CobThread& thread, std::size_t index,
                  std::uint64_t stackLimit) {
    const auto stack = thread.stack.words();
    const auto shown = static_cast<std::size_t>(std::min<std::uint64_t>(stack.size(), stackLimit));
    return {{"index", index},
            {"id", thread.id},
            {"state", stateName(thread.state)},
            {"script", instance.scriptNameAt(thread.pc)},
            {"scriptPc", thread.pc},
            {"sleepUntil", thread.sleepUntil},
            {"waitPiece", thread.waitPiece},
            {"waitAxis", thread.waitAxis},
            {"signalMask", thread.signalMask},
            {"stack", stack.last(shown)},
            {"callStack", encodeCallStack(instance, thread)},
            {"locals", encodeVariables(thread.frames.frame(thread.frames.count() - 1))}};
}

/// The named unit values as the script would read them now, then others that were set.
json encodeUnitValues(const CobSession& cob) {
    json result = json::array();
    auto others = cob.unitValues();
    for (const auto& [id, name] : unitValueNames()) {
        const auto set = others.extract(id);
        result.push_back({{"valueId", id}, {"valueName", name}, {"value", set ? set.mapped() : 0}});
    }
    for (const auto& [id, value] : others)
        result.push_back({{"valueId", id}, {"valueName", unitValueName(id)}, {"value", value}});
    return result;
}

}  // namespace

json encodePieces(const CobInstance& instance, const std::vector<std::string>& modelPieces) {
    json transforms = json::array();
    for (std::size_t i = 0; i < instance.pieces.size(); ++i) {
        const auto& [x, y, z] = instance.pieces[i].offset;
        const auto& [rx, ry, rz] = instance.pieces[i].angle;
        transforms.push_back({{"piece", modelPieces[i]},
                              {"tx", shortestDouble(x)},
                              {"ty", shortestDouble(y)},
                              {"tz", shortestDouble(z)},
                              {"rx", shortestDouble(rx)},
                              {"ry", shortestDouble(ry)},
                              {"rz", shortestDouble(rz)},
                              {"visible", instance.pieces[i].visible != 0}});
    }
    return transforms;
}

json encodePieceTransforms(const CobInstance& instance,
                           const std::vector<std::string>& modelPieces) {
    return {{"tick", instance.tick},
            {"threadCount", instance.threads.size()},
            {"transforms", encodePieces(instance, modelPieces)}};
}

json encodeReport(UnitViewSession& session) {
    CobSession& cob = session.cob();
    json report = encodePieceTransforms(cob.requireInstance(), cob.modelPieces());
    const std::optional<ScriptPause> pause = findPause(session);
    report["isPaused"] = pause.has_value();
    if (!pause) return report;
    report["pausedOffset"] = pause->offset;
    if (pause->thread) report["pausedThread"] = *pause->thread;
    if (!pause->script.empty()) report["script"] = pause->script;
    if (pause->line != 0) report["line"] = pause->line;
    if (pause->file) report["file"] = *pause->file;
    return report;
}

json encodeInspection(CobSession& cob, std::uint64_t stackLimit) {
    const CobInstance& instance = cob.requireInstance();
    const CobDebugger& debugger = cob.debugger();
    json threads = json::array();
    for (std::size_t i = 0; i < instance.threads.size(); ++i)
        threads.push_back(encodeThread(instance, *instance.threads[i], i, stackLimit));
    json families = json::object();
    for (const auto& script : instance.file().scripts)
        families[script.name] = scriptFamily(script.name);
    json result = {{"threadCount", instance.threads.size()},
                   {"threads", std::move(threads)},
                   {"statics", encodeVariables(instance.statics)},
                   {"sysvars", encodeUnitValues(cob)},
                   {"scriptFamilies", std::move(families)},
                   {"tick", instance.tick},
                   {"paused", debugger.isPaused()}};
    if (debugger.isPaused()) result["pausedOffset"] = debugger.pausedOffset();
    return result;
}

json encodeTrace(const CobInstance& instance, std::size_t maxEntries,
                 std::optional<std::uint64_t> since) {
    const CobTrace& trace = instance.trace;
    std::size_t count = std::min(trace.size(), maxEntries);
    if (since)
        count = static_cast<std::size_t>(
            std::min<std::uint64_t>(count, trace.lastSeq() - std::min(*since, trace.lastSeq())));
    json entries = json::array();
    for (std::size_t i = trace.size() - count; i < trace.size(); ++i) {
        const CobTraceEvent event = describe(trace[i], instance.file());
        json entry = {{"tick", event.tick}, {"thread", event.thread}, {"event", event.event}};
        if (since) entry["seq"] = trace.seqOf(i);
        if (event.piece) entry["piece"] = *event.piece;
        if (event.valueId) entry["valueId"] = *event.valueId;
        if (event.valueName) entry["valueName"] = *event.valueName;
        if (event.result) entry["result"] = *event.result;
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace orb::unitview::ipc
