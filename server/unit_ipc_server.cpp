#include "server/unit_ipc_server.h"

#include <array>
#include <limits>
#include <new>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/out_of_memory.h"
#include "server/command_table.h"
#include "server/dismantle.h"
#include "server/handlers/encode_cob.h"
#include "server/logger.h"
#include "server/memory_reserve.h"
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

std::string errorText(const Command& command, const std::exception& error) {
    if (dynamic_cast<const RequestError*>(&error)) return error.what();
    if (dynamic_cast<const PayloadError*>(&error) && !command.badPayloadPrefix.empty())
        return fmt::format("{}{}", command.badPayloadPrefix, error.what());
    return fmt::format("handler '{}' threw: {}", command.type, error.what());
}

/// What runs, runs on what was read before.
bool readsFiles(const Command& command) {
    return command.type != "cob-tick" && command.type != "map-tick";
}

std::string pieceTransforms(CobSession& cob) {
    const CobInstance* const instance = cob.instance();
    return instance ? compactText(encodePieceTransforms(*instance, cob.modelPieces())) : "";
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
        refillMemoryReserve();
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
    } catch (const std::exception& error) {
        if (hasMemoryRunOut() || io::isOutOfMemory(error))
            return sendOutOfMemory(envelope.seq, command->type);
        sendError(envelope.seq, errorText(*command, error));
    } catch (...) {
        sendError(envelope.seq, fmt::format("handler '{}' threw non-std exception", envelope.type));
    }
}

void UnitIpcServer::serve(const Command& command, const Envelope& envelope) {
    if (command.effect == Effect::frame && !binary_) throw RequestError(kNoBinaryChannel);

    Payload payload = Payload::parse(envelope.data);
    payload.setProgressListener(progressEvents(
        envelope.seq, [this](const json& progress) { sendReply(0, "progress", progress); }));
    if (readsFiles(command)) session_.followArchives();
    Reply reply = command.handler(session_, payload);
    const Dismantling whenSent(reply.data);
    sendAll(command, envelope.seq, reply);
}

/// Writes nothing before all that could still fail is done: what has begun cannot become an error.
void UnitIpcServer::sendAll(const Command& command, std::uint64_t seq, const Reply& reply) {
    const std::string data = compactText(reply.data);
    const std::string event =
        command.effect == Effect::transforms ? pieceTransforms(session_.cob()) : "";
    if (command.effect == Effect::stop) running_ = false;
    writeLine(seq, command.replyType, data);
    if (!event.empty()) writeLine(0, "piece-transforms", event);
    if (command.effect != Effect::frame) return;
    sendBinaryFrame(reply.frame.data(), static_cast<std::int64_t>(reply.frame.size()));
    LogLine(LogLevel::info) << "[" << command.replyType << "] reply + binary frame sent";
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
    std::array<char, 4> length{};
    for (std::size_t i = 0; i < length.size(); ++i)
        length[i] = static_cast<char>(static_cast<std::uint64_t>(size) >> (8 * i));
    binary_->write(length.data(), length.size());
    if (size != 0)
        binary_->write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    binary_->flush();
}

// The data text is compact JSON already, so the line is put together around it: parsing it again
// only to print it would double the cost of every large reply. Takes no memory.
void UnitIpcServer::writeLine(std::uint64_t seq, std::string_view type, std::string_view dataText) {
    out_ << "{\"data\":" << dataText << ",\"seq\":" << seq << ",\"type\":\"" << type << "\"}\n";
    out_.flush();
}

/// An error reply that takes no memory itself; the type is that of the request, where it is known.
void UnitIpcServer::sendOutOfMemory(std::uint64_t seq, std::string_view type) {
    out_ << R"({"data":{"message":")";
    if (!type.empty()) out_ << "handler '" << type << "' threw: ";
    out_ << R"(out of memory"},"seq":)" << seq << ",\"type\":\"error\"}\n";
    out_.flush();
}

}  // namespace orb::unitview::ipc
