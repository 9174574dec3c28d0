#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "io/json_nesting.h"
#include "io/text_encoding.h"
#include "server/base64.h"

// Encodings of text, and the check that protects the JSON parser.

namespace orb::fuzz {
namespace {

constexpr int kFewLevels = 20;

void checkNesting(std::string_view text) {
    if (io::findJsonNestingBeyond(text, kFewLevels)) return;
    const auto limitDepth = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
        require(depth <= kFewLevels, "no deeper document passes the check");
        return true;
    };
    [[maybe_unused]] const auto parsed = nlohmann::json::parse(text, limitDepth, false);
}

}  // namespace

void run(io::ByteView input) {
    const std::string text(io::asText(input));
    const io::DecodedText decoded = io::decodeGameText(text);
    require(io::isValidUtf8(decoded.utf8), "decoded text is UTF-8");
    require(io::encodeGameText(decoded.utf8, decoded.encoding) == text,
            "encoding restores the bytes");
    const std::string replaced = io::replaceInvalidUtf8(text);
    require(io::isValidUtf8(replaced), "a replaced text is UTF-8");
    require(io::isValidUtf8(text) == (replaced == text), "only wrong text is replaced");
    checkNesting(text);

    const std::string base64 = unitview::ipc::encodeBase64(input);
    require(std::ranges::equal(unitview::ipc::decodeBase64(base64), input), "base64 goes back");
    accepts([&] { unitview::ipc::decodeBase64(text); });
}

}  // namespace orb::fuzz
