#include "server/handlers/encode_edit.h"

#include <array>

#include <nlohmann/json.hpp>

#include "io/path_text.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

/// By EditOutcome.
constexpr std::array<std::string_view, 5> kOutcomeWords = {
    "ok", "needs-backup-consent", "base-ta-refused", "changed-on-disk", "checked"};

}  // namespace

EditTerms decodeTerms(const Payload& payload) {
    EditTerms terms;
    terms.allowBackupCreation = payload.flag("allowBackupCreation").value_or(false);
    terms.ifVersion = textOption(payload, "ifVersion");
    return terms;
}

void addReload(json& data, const Reload& reload) {
    if (reload.error) data["reloadError"] = *reload.error;
    if (reload.endedEdits) data["editsDropped"] = true;
}

json encodeEdit(const EditResult& edit) {
    json data = {{"outcome", kOutcomeWords.at(static_cast<std::size_t>(edit.outcome))},
                 {"resolvedPath", io::textFromPath(edit.resolvedPath)}};
    addReload(data, edit.reload);
    if (edit.version) data["version"] = *edit.version;
    return data;
}

}  // namespace orb::unitview::ipc
