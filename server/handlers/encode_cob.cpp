#include "server/handlers/encode_cob.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "cob/unit_values.h"
#include "diagnostics/script_family.h"
#include "server/handlers/json_numbers.h"

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

json encodeThread(const CobInstance& instance, const CobThread& thread, std::size_t index) {
    return {{"index", index},
            {"state", stateName(thread.state)},
            {"script", instance.scriptNameAt(thread.pc)},
            {"scriptPc", thread.pc},
            {"sleepUntil", thread.sleepUntil},
            {"waitPiece", thread.waitPiece},
            {"waitAxis", thread.waitAxis},
            {"signalMask", thread.signalMask},
            {"stack", thread.stack.words()},
            {"callStack", encodeCallStack(instance, thread)},
            {"locals", encodeVariables(thread.frames.frame(thread.frames.count() - 1))}};
}

/// The named unit values as the script would read them now.
json encodeUnitValues(const CobInstance& instance) {
    json result = json::array();
    for (const auto& [id, name] : unitValueNames()) {
        const auto& getter = instance.callbacks.getUnitValue;
        result.push_back(
            {{"valueId", id}, {"valueName", name}, {"value", getter ? getter(id) : 0}});
    }
    return result;
}

}  // namespace

json encodePieceTransforms(const CobInstance& instance,
                           const std::vector<std::string>& modelPieces) {
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
    return {{"tick", instance.tick},
            {"threadCount", instance.threads.size()},
            {"transforms", std::move(transforms)}};
}

json encodeInspection(const CobInstance& instance, const CobDebugger& debugger) {
    json threads = json::array();
    for (std::size_t i = 0; i < instance.threads.size(); ++i)
        threads.push_back(encodeThread(instance, *instance.threads[i], i));
    json families = json::object();
    for (const auto& script : instance.file().scripts)
        families[script.name] = scriptFamily(script.name);
    json result = {{"threadCount", instance.threads.size()},
                   {"threads", std::move(threads)},
                   {"statics", encodeVariables(instance.statics)},
                   {"sysvars", encodeUnitValues(instance)},
                   {"scriptFamilies", std::move(families)},
                   {"tick", instance.tick},
                   {"paused", debugger.isPaused()}};
    if (debugger.isPaused()) result["pausedOffset"] = debugger.pausedOffset();
    return result;
}

json encodeTrace(const CobInstance& instance, std::size_t maxEntries) {
    const CobTrace& trace = instance.trace;
    const std::size_t count = std::min(trace.size(), maxEntries);
    json entries = json::array();
    for (std::size_t i = trace.size() - count; i < trace.size(); ++i) {
        const CobTraceEvent event = describe(trace[i], instance.file());
        json entry = {{"tick", event.tick}, {"thread", event.thread}, {"event", event.event}};
        if (event.piece) entry["piece"] = *event.piece;
        if (event.valueId) entry["valueId"] = *event.valueId;
        if (event.valueName) entry["valueName"] = *event.valueName;
        if (event.result) entry["result"] = *event.result;
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace orb::unitview::ipc
