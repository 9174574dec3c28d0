#pragma once

#include <span>

#include <nlohmann/json_fwd.hpp>

#include "bos/source_compare.h"
#include "server/payload.h"

/// JSON forms of the script compiler's options and results.
namespace orb::unitview::ipc {

/// The request member "options": {"linearScale", "angularScale", "implicitReturn",
/// "valuelessReturn", "argumentOrder"}, each optional. Throws PayloadError for wrong types and
/// RequestError for values that are none.
bos::BosOptionChoices decodeOptions(const Payload& payload);
nlohmann::json encodeOptions(const bos::BosOptions& options);

/// [{"severity", "code", "message", "file", "line", "column"}]
nlohmann::json encodeDiagnostics(std::span<const bos::BosDiagnostic> diagnostics);

/// [{"from", "to", "line"}], as cob-set-breakpoints takes them.
nlohmann::json encodeLineSpans(std::span<const CobLineSpan> spans);

}  // namespace orb::unitview::ipc
