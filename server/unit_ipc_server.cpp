#include "server/unit_ipc_server.h"

#include <limits>
#include <new>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/byte_cursor.h"
#include "server/command_table.h"
#include "server/handlers/encode_cob.h"
#include "server/logger.h"
#include "server/payload.h"
#include "server/progress_events.h"
#include "server/reply.h"
#include "session/request_error.h"
#include "session/unit_view_session.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

constexpr const char* kNoBinaryChannel = "binary channel unavailable; spawn with FD3";

std::string compactText(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

/// Reads up to the next line end; false at the end of the input. A line that the memory cannot hold
/// is skipped and throws std::bad_alloc.
bool readLine(std::istream& in, std::string& line) {
    try {
        in.exceptions(std::ios::badbit);  // else the stream keeps to itself why it failed
        return static_cast<bool>(std::getline(in, line));
    } catch (const std::bad_alloc&) {
        in.exceptions(std::ios::goodbit);
        in.clear();
        in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        throw;
    } catch (const std::ios::failure&) {
        return false;
    }
}

}  // namespace

void UnitIpcServer::run() {
    while (running_) {
        std::uint64_t seq = 0;
        try {
            std::string line;  // a new one each time: a huge one must give its memory back
            if (!readLine(in_, line)) return;
            const EnvelopeParseResult parsed = parseEnvelope(line);
            seq = parsed.envelope.seq;
            if (parsed.success)
                dispatch(parsed.envelope);
            else
                sendError(seq,
                          parsed.errorMessage.empty() ? "malformed envelope" : parsed.errorMessage);
        } catch (const std::bad_alloc&) {
            sendOutOfMemory(seq);
        }
    }
}

void UnitIpcServer::dispatch(const Envelope& envelope) {
    const Command* const command = findCommand(envelope.type);
    if (!command)
        return sendError(envelope.seq, fmt::format("unknown message type: {}", envelope.type));
    try {
        serve(*command, envelope);
    } catch (const RequestError& error) {
        sendError(envelope.seq, error.what());
    } catch (const std::exception& error) {
        const bool isNamed =
            dynamic_cast<const PayloadError*>(&error) && !command->badPayloadPrefix.empty();
        sendError(envelope.seq,
                  isNamed ? fmt::format("{}{}", command->badPayloadPrefix, error.what())
                          : fmt::format("handler '{}' threw: {}", envelope.type, error.what()));
    } catch (...) {
        sendError(envelope.seq, fmt::format("handler '{}' threw non-std exception", envelope.type));
    }
}

void UnitIpcServer::serve(const Command& command, const Envelope& envelope) {
    if (command.effect == Effect::frame && !binary_) throw RequestError(kNoBinaryChannel);
    if (!command.handler) throw RequestError(fmt::format("not implemented: {}", command.type));

    Payload payload = Payload::parse(envelope.data);
    payload.setProgressListener(progressEvents(
        envelope.seq, [this](const json& progress) { sendReply(0, "progress", progress); }));
    const Reply reply = command.handler(session_, payload);
    sendReply(envelope.seq, command.replyType, reply.data);
    try {
        followReply(command, reply);
    } catch (const std::exception& error) {  // an error reply would be a second one
        LogLine(LogLevel::error) << "[" << command.type << "] after the reply: " << error.what();
    }
}

void UnitIpcServer::followReply(const Command& command, const Reply& reply) {
    switch (command.effect) {
        case Effect::none:
            break;
        case Effect::frame:
            sendBinaryFrame(reply.frame.data(), static_cast<std::int64_t>(reply.frame.size()));
            LogLine(LogLevel::info) << "[" << command.replyType << "] reply + binary frame sent";
            break;
        case Effect::transforms:
            sendPieceTransforms();
            break;
        case Effect::stop:
            running_ = false;
            break;
    }
}

void UnitIpcServer::sendReply(std::uint64_t seq, std::string_view type,
                              const std::string& payloadText) {
    if (payloadText.empty()) return writeLine(seq, type, "{}");
    json data = json::parse(payloadText, nullptr, false);
    if (data.is_discarded()) data = payloadText;
    writeLine(seq, type, data.dump());
}

void UnitIpcServer::sendReply(std::uint64_t seq, std::string_view type, const json& payload) {
    writeLine(seq, type, compactText(payload));
}

void UnitIpcServer::sendError(std::uint64_t seq, std::string_view message) {
    sendReply(seq, "error", json{{"message", message}});
}

void UnitIpcServer::sendBinaryFrame(const std::uint8_t* bytes, std::int64_t size) {
    if (!binary_) return;
    io::ByteWriter length;
    length.u32(static_cast<std::uint32_t>(size));
    binary_->write(reinterpret_cast<const char*>(length.view().data()), 4);
    if (size != 0)
        binary_->write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    binary_->flush();
}

void UnitIpcServer::sendPieceTransforms() {
    if (const CobInstance* const instance = session_.cob().instance())
        sendReply(0, "piece-transforms",
                  encodePieceTransforms(*instance, session_.cob().modelPieces()));
}

// The data text is compact JSON already, so the line is put together around it: parsing it again
// only to print it would double the cost of every large reply.
void UnitIpcServer::writeLine(std::uint64_t seq, std::string_view type, std::string_view dataText) {
    const std::string typeText = compactText(json(std::string(type)));
    out_ << "{\"data\":" << dataText << ",\"seq\":" << seq << ",\"type\":" << typeText << "}\n";
    out_.flush();
}

/// An error reply that takes no memory itself.
void UnitIpcServer::sendOutOfMemory(std::uint64_t seq) {
    out_ << R"({"data":{"message":"out of memory"},"seq":)" << seq << ",\"type\":\"error\"}\n";
    out_.flush();
}

}  // namespace orb::unitview::ipc
