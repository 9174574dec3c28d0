#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "io/byte_cursor.h"

namespace orb::unitview {
class UnitViewSession;
}

namespace orb::unitview::ipc {

class Payload;
struct Reply;

/// Decodes the payload, calls one operation, encodes the answer. Throws PayloadError for a payload
/// that does not decode and RequestError for a request that cannot be served.
using Handler = Reply(UnitViewSession& session, const Payload& payload);

/// What a command does beside its reply line.
enum class Effect : std::uint8_t {
    none,
    /// Writes one frame on the binary channel right after the reply.
    frame,
    /// The "piece-transforms" event follows the reply.
    transforms,
    /// The message loop ends after the reply.
    stop
};

/// One message type.
struct Command {
    std::string_view type;
    std::string_view replyType;
    Effect effect;
    /// Starts the error text for a payload that does not decode. Empty: the guard round the handler
    /// reports it like any other exception.
    std::string_view badPayloadPrefix;
    /// A reference, so that no row compiles without one.
    Handler& handler;
};

/// Every message type that the server knows, in dispatch order.
std::span<const Command> commandTable();

/// The row of a type (exact, case-sensitive), or null.
const Command* findCommand(std::string_view type);

}  // namespace orb::unitview::ipc
