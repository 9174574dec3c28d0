#include "server/unit_ipc_server.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/byte_cursor.h"
#include "server/command_table.h"
#include "server/handlers/encode_cob.h"
#include "server/logger.h"
#include "server/payload.h"
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

}  // namespace

void UnitIpcServer::run() {
    std::string line;
    while (running_ && std::getline(in_, line)) {
        const EnvelopeParseResult parsed = parseEnvelope(line);
        if (parsed.success)
            dispatch(parsed.envelope);
        else
            sendError(parsed.envelope.seq,
                      parsed.errorMessage.empty() ? "malformed envelope" : parsed.errorMessage);
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

    const Reply reply = command.handler(session_, Payload::parse(envelope.data));
    sendReply(envelope.seq, command.replyType, reply.data);
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
    out_ << "{\"data\":" << dataText << ",\"seq\":" << seq
         << ",\"type\":" << compactText(json(std::string(type))) << "}\n";
    out_.flush();
}

}  // namespace orb::unitview::ipc
