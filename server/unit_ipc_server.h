#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "server/envelope.h"

namespace orb::unitview {
class UnitViewSession;
}

namespace orb::unitview::ipc {

struct Command;
struct Reply;

/// The message loop: reads one request a line, answers each with exactly one reply line, in order.
class UnitIpcServer {
public:
    /// Borrows everything. `binary` is null when the parent opened no binary channel.
    UnitIpcServer(UnitViewSession& session, std::istream& in, std::ostream& out,
                  std::ostream* binary)
        : session_(session), in_(in), out_(out), binary_(binary) {}

    /// Serves requests until "shutdown" has been answered or the input ends.
    void run();

    /// Answers one request. What escapes its handler becomes an error reply.
    void dispatch(const Envelope& envelope);

    /// Writes one reply or event line (an event has seq 0), of a type that needs no escaping. A
    /// payload text that is not JSON is sent as a JSON string; an empty one as {}.
    void sendReply(std::uint64_t seq, std::string_view type, const std::string& payloadText);
    /// The same for a payload that is still a value; invalid UTF-8 in it is replaced.
    void sendReply(std::uint64_t seq, std::string_view type, const nlohmann::json& payload);

    void sendError(std::uint64_t seq, std::string_view message);

    /// Writes a 4-byte little-endian length and that many bytes; nothing without a binary channel.
    void sendBinaryFrame(const std::uint8_t* bytes, std::int64_t size);

private:
    void serve(const Command& command, const Envelope& envelope);
    void sendAll(const Command& command, std::uint64_t seq, const Reply& reply);
    void sendOutOfMemory(std::uint64_t seq, std::string_view type = {});
    void writeLine(std::uint64_t seq, std::string_view type, std::string_view dataText);

    UnitViewSession& session_;
    std::istream& in_;
    std::ostream& out_;
    std::ostream* binary_;
    bool running_ = true;
};

}  // namespace orb::unitview::ipc
