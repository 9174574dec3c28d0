#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orb::unitview::ipc {

/// One decoded request line.
struct Envelope {
    std::string type;
    /// Echoed in every reply to the request; 0 when it carries none.
    std::uint64_t seq = 0;
    /// The payload as compact JSON text; empty when the request has no "data".
    std::string data;
};

enum class EnvelopeError {
    jsonSyntax = 0,
    notAnObject = 1,
    missingType = 2,
    typeNotAString = 3,
    badSeq = 4
};

struct EnvelopeParseResult {
    bool success = false;
    /// Filled as far as parsing got.
    Envelope envelope;
    std::optional<EnvelopeError> errorKind;
    std::string errorMessage;
};

/// Decodes one input line; trailing line ends are ignored. Never throws for content: a line nested
/// deeper than io::kMaxJsonNesting is a syntax error.
EnvelopeParseResult parseEnvelope(std::string_view line);

}  // namespace orb::unitview::ipc
