#pragma once

#include "cob/cob_line_span.h"
#include "server/payload.h"
#include "session/cob_session.h"

/// Request members that several messages about running scripts take. Every function throws
/// PayloadError with the name of the member that is wrong.
namespace orb::unitview::ipc {

/// The member "report": false when absent.
bool decodeReport(const Payload& payload);

/// A whole number from 0 on.
std::optional<std::uint64_t> decodeCount(const Payload& payload, const char* key);

/// The member "set" of cob-inspect.
std::optional<CobWrites> decodeWrites(const Payload& payload);

/// What cob-set-breakpoints sets.
struct BreakpointRequest {
    std::set<std::uint32_t> offsets;
    /// Its files are the source's place, which has no name here, and the included files that spans
    /// name. None when the request tells none.
    std::optional<CobLineMap> spans;
    std::optional<std::vector<std::uint32_t>> lines;
};

/// With "lines" the spans must be ordered (none ends before it begins) and must not overlap.
BreakpointRequest decodeBreakpoints(const Payload& payload);

}  // namespace orb::unitview::ipc
