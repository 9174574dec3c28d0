#include "server/envelope.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "io/json_nesting.h"
#include "server/dismantle.h"
#include "server/parse_json.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

EnvelopeParseResult fail(EnvelopeParseResult result, EnvelopeError kind, std::string message) {
    result.errorKind = kind;
    result.errorMessage = std::move(message);
    return result;
}

}  // namespace

EnvelopeParseResult parseEnvelope(std::string_view line) {
    line = line.substr(0, line.find_last_not_of("\r\n") + 1);

    EnvelopeParseResult result;
    if (const auto offset = io::findJsonNestingBeyond(line, io::kMaxJsonNesting))
        return fail(std::move(result), EnvelopeError::jsonSyntax,
                    fmt::format("parse error at column {}: JSON nested deeper than {} levels",
                                *offset + 1, io::kMaxJsonNesting));
    json document;
    const Dismantling inTheEnd(document);
    try {
        parseJson(line, document);
    } catch (const json::exception& error) {
        return fail(std::move(result), EnvelopeError::jsonSyntax, error.what());
    }
    // The parser takes a NUL for the end of the text and would ignore what follows.
    if (const auto nul = line.find('\0'); nul != std::string_view::npos)
        return fail(std::move(result), EnvelopeError::jsonSyntax,
                    fmt::format("parse error at column {}: NUL byte", nul + 1));
    if (!document.is_object())
        return fail(std::move(result), EnvelopeError::notAnObject,
                    "top-level JSON is not an object");

    const auto type = document.find("type");
    if (type == document.end())
        return fail(std::move(result), EnvelopeError::missingType,
                    "envelope missing required \"type\" field");
    if (!type->is_string())
        return fail(std::move(result), EnvelopeError::typeNotAString, "\"type\" must be a string");
    result.envelope.type = type->get<std::string>();

    if (const auto seq = document.find("seq"); seq != document.end()) {
        if (!seq->is_number_integer())
            return fail(std::move(result), EnvelopeError::badSeq, "\"seq\" must be a number");
        if (!seq->is_number_unsigned() && seq->get<std::int64_t>() < 0)
            return fail(std::move(result), EnvelopeError::badSeq, "\"seq\" must be non-negative");
        result.envelope.seq = seq->get<std::uint64_t>();
    }
    if (const auto data = document.find("data"); data != document.end())
        result.envelope.data = data->dump();
    result.success = true;
    return result;
}

}  // namespace orb::unitview::ipc
