#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "server/command_table.h"
#include "server/unit_ipc_server.h"

/// What the program answers to lines of requests, as far as that is the same whatever they are.
namespace orb::fuzz {

inline bool isEvent(const nlohmann::json& reply) {
    return reply["seq"] == 0 &&
           (reply["type"] == "piece-transforms" || reply["type"] == "progress");
}

/// A reply whose error is a mistake of ours, not of the request.
inline bool isOurMistake(const nlohmann::json& reply) {
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
inline std::size_t checkOutput(const std::string& output, std::vector<std::size_t>& frameSizes) {
    std::size_t replies = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const nlohmann::json reply = nlohmann::json::parse(line, nullptr, false);
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

inline void checkFrames(const std::string& binary, const std::vector<std::size_t>& sizes) {
    io::ByteCursor frames(bytesOf(binary), "a frame ends early");
    for (const std::size_t size : sizes) {
        require(frames.u32() == size, "a frame follows its reply");
        frames.skip(size);
    }
    require(frames.remaining() == 0, "no frame is left over");
}

/// Lets a session answer the lines: a reply each, in the form of one, with its frame, and none that
/// tells of a mistake of ours.
inline void checkReplies(unitview::UnitViewSession& session, const std::string& lines,
                         std::size_t lineCount) {
    std::istringstream in(lines);
    std::ostringstream out, binary;
    unitview::ipc::UnitIpcServer(session, in, out, &binary).run();

    std::vector<std::size_t> frameSizes;
    const std::size_t replies = checkOutput(out.str(), frameSizes);
    const bool isAllRead = in.eof() || in.peek() == std::istringstream::traits_type::eof();
    require(replies == lineCount || (!isAllRead && replies < lineCount),
            "every request has one reply");
    checkFrames(binary.str(), frameSizes);
}

}  // namespace orb::fuzz
