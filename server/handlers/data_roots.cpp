#include "io/path_text.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

DataRootsRequest decodeRoots(const Payload& payload) {
    DataRootsRequest request;
    const auto taDataPath = payload.path("taDataPath");
    request.modPaths = payload.paths("modPaths").value_or(std::vector<std::filesystem::path>{});
    request.mapsPath = payload.path("mapsPath").value_or("");
    request.taDataPath = require("taDataPath", taDataPath);
    return request;
}

std::string_view layerWord(io::DataRootKind kind) {
    switch (kind) {
        case io::DataRootKind::mod:
            return "mod";
        case io::DataRootKind::base:
            return "base";
        case io::DataRootKind::maps:
            return "maps";
    }
    return "";
}

json encodeLayers(const std::vector<LayerReport>& layers) {
    json result = json::array();
    for (const LayerReport& layer : layers)
        result.push_back({{"kind", layerWord(layer.kind)},
                          {"path", io::textFromPath(layer.path)},
                          {"archiveCount", layer.archiveCount}});
    return result;
}

json encodeRoots(const std::vector<io::MountedRoot>& roots) {
    json result = json::array();
    for (const io::MountedRoot& each : roots) {
        json row = {{"kind", layerWord(each.root.kind)},
                    {"path", io::textFromPath(each.root.path)},
                    {"archiveCount", each.archives},
                    {"exists", each.exists}};
        for (const auto& [path, message] : each.unreadable)
            row["unreadable"].push_back({{"path", io::textFromPath(path)}, {"message", message}});
        result.push_back(std::move(row));
    }
    return result;
}

}  // namespace

Reply setDataRoots(UnitViewSession& session, const Payload& payload) {
    const bool withReport = option(payload, "report");
    const io::Progress progress = payload.progress();
    const DataRootsRequest request = decodeRoots(payload);
    return reportingFailure(
        [&]() -> Reply {
            const MountedData& data = session.setDataRoots(request, progress);
            Reply reply{{{"modArchives", data.result.modArchives},
                         {"baseArchives", data.result.baseArchives},
                         {"mapsLayered", data.result.mapsLayered},
                         {"layers", encodeLayers(data.layers)},
                         {"unitCount", data.catalogue.roster().size()}}};
            if (withReport) reply.data["allLayers"] = encodeRoots(data.result.roots);
            return reply;
        },
        "mount failed: ");
}

Reply clearDataRoots(UnitViewSession& session, const Payload&) {
    session.clearDataRoots();
    return {};
}

Reply listVfsDir(UnitViewSession& session, const Payload& payload) {
    const std::string path = payload.text("path").value_or("");
    const auto& files = session.data().files;
    return {{{"path", path},
             {"directories", files.listDirectories(path)},
             {"files", files.listFiles(path, "")}}};
}

}  // namespace orb::unitview::ipc::handlers
