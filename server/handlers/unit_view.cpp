#include <algorithm>
#include <array>

#include "server/handlers/handlers.h"
#include "session/render_constants.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

struct SimModeWord {
    std::string_view word;
    SimMode mode;
};
constexpr std::array<SimModeWord, 3> kSimModeWords = {
    {{"static", SimMode::still}, {"ground", SimMode::ground}, {"water", SimMode::water}}};

}  // namespace

Reply setSimMode(UnitViewSession& session, const Payload& payload) {
    const std::string word = payload.requiredText("mode");
    const auto* const found = std::ranges::find(kSimModeWords, word, &SimModeWord::word);
    if (found == kSimModeWords.end()) throw RequestError("unknown sim mode: " + word);
    session.cob().setSimMode(found->mode);
    return {{{"mode", word}}};
}

Reply renderConstants(UnitViewSession&, const Payload&) {
    const RenderConstants constants;
    const json light = {{"direction", constants.light.direction},
                        {"ambient", constants.light.ambient},
                        {"diffuse", constants.light.diffuse}};
    return {{{"cabinetYPitch", constants.cabinetYPitch},
             {"orthoDepthRange", constants.orthoDepthRange},
             {"cabinetView", constants.cabinetView},
             {"model-origin", constants.modelOrigin},
             {"groundContact", constants.groundContact},
             {"tiltFromVerticalDeg", constants.tiltFromVerticalDeg},
             {"azimuthDeg", constants.azimuthDeg},
             {"light", light}}};
}

}  // namespace orb::unitview::ipc::handlers
