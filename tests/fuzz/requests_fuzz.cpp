#include <algorithm>
#include <sstream>

#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "io/json_nesting.h"
#include "request_mutator.h"
#include "sandboxed_requests.h"
#include "server/command_table.h"
#include "server/unit_ipc_server.h"
#include "session/unit_view_session.h"

// The message loop: lines of requests to a fresh session over a copy of the sample data.

namespace orb::fuzz {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxLines = 24;

bool isEvent(const json& reply) {
    return reply["type"] == "piece-transforms" && reply["seq"] == 0;
}

/// A reply whose error is a mistake of ours, not of the request.
bool isOurMistake(const json& reply) {
    if (reply["type"] != "error") return false;
    const std::string message = reply["data"]["message"];
    if (!message.starts_with("handler '")) return false;
    constexpr std::string_view kMistakes[] = {
        "threw: std::", "threw: vector", "threw: basic_string", "threw: map::",
        "threw: bad ",  "non-std",       "threw: stoi",         "threw: array"};
    return std::ranges::any_of(
        kMistakes, [&](std::string_view text) { return message.find(text) != std::string::npos; });
}

/// Every line is an object of three members; returns how many are replies, with the frames' sizes.
std::size_t checkOutput(const std::string& output, std::vector<std::size_t>& frameSizes) {
    std::size_t replies = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const json reply = json::parse(line, nullptr, false);
        require(reply.is_object() && reply.size() == 3 && reply["type"].is_string() &&
                    reply["seq"].is_number_unsigned() && reply.contains("data"),
                "every line is a reply");
        require(!isOurMistake(reply), "no reply tells of a mistake of ours");
        if (isEvent(reply)) continue;
        ++replies;
        const auto command = std::ranges::find_if(
            unitview::ipc::commandTable(),
            [&](const auto& row) { return row.replyType == reply["type"].get<std::string>(); });
        if (command != unitview::ipc::commandTable().end() &&
            command->effect == unitview::ipc::Effect::frame)
            frameSizes.push_back(reply["data"]["byteSize"]);
    }
    return replies;
}

void checkFrames(const std::string& binary, const std::vector<std::size_t>& sizes) {
    io::ByteCursor frames(bytesOf(binary), "a frame ends early");
    for (const std::size_t size : sizes) {
        require(frames.u32() == size, "a frame follows its reply");
        frames.skip(size);
    }
    require(frames.remaining() == 0, "no frame is left over");
}

}  // namespace

void run(io::ByteView input) {
    SandboxedRequests requests(input, kMaxLines);
    unitview::UnitViewSession session;
    session.setDataRoots(requests.dataRoots());
    std::istringstream in(requests.text());
    std::ostringstream out, binary;
    unitview::ipc::UnitIpcServer(session, in, out, &binary).run();

    std::vector<std::size_t> frameSizes;
    const std::size_t replies = checkOutput(out.str(), frameSizes);
    const bool isAllRead = in.eof() || in.peek() == std::istringstream::traits_type::eof();
    require(replies == requests.lineCount() || (!isAllRead && replies < requests.lineCount()),
            "every request has one reply");
    checkFrames(binary.str(), frameSizes);
}

}  // namespace orb::fuzz

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    if (seed % 3 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    const std::string text =
        orb::fuzz::mutateRequests({reinterpret_cast<const char*>(data), size}, seed);
    if (text.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    std::ranges::copy(text, data);
    return text.size();
}
