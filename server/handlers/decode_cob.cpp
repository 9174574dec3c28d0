#include "server/handlers/decode_cob.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <unordered_map>

#include <fmt/format.h>

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

constexpr std::int64_t kMaxWord = std::numeric_limits<std::uint32_t>::max();

[[noreturn]] void failType(std::string_view name, std::string_view wanted, const json& value) {
    throw PayloadError(fmt::format("{}: type must be {}, but is {}", name, wanted,
                                   value.is_number_float() ? "fraction" : value.type_name()));
}

void requireObject(std::string_view name, const json& value) {
    if (!value.is_object()) failType(name, "object", value);
}

std::int64_t decodeWithin(std::string_view name, const json& value, std::int64_t low,
                          std::int64_t high) {
    if (!value.is_number_integer()) failType(name, "integer", value);
    const bool isHuge =
        value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(high);
    const std::int64_t number = isHuge ? high : value.get<std::int64_t>();
    if (isHuge || number < low || number > high)
        throw PayloadError(fmt::format("{}: must lie in {} to {}", name, low, high));
    return number;
}

std::int32_t decodeValue(std::string_view name, const json& value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(decodeWithin(name, value, Limits::min(), Limits::max()));
}

std::uint32_t decodeIndex(std::string_view name, const json& value) {
    return static_cast<std::uint32_t>(decodeWithin(name, value, 0, kMaxWord));
}

/// An object whose keys are numbers: {"3": value}.
template <typename Key>
std::vector<std::pair<Key, std::int32_t>> decodeNumbered(const std::string& name,
                                                         const json& value) {
    requireObject(name, value);
    std::vector<std::pair<Key, std::int32_t>> result;
    result.reserve(value.size());
    for (const auto& [key, element] : value.items()) {
        Key number{};
        const char* const end = key.data() + key.size();
        const auto [stop, error] = std::from_chars(key.data(), end, number);
        if (error != std::errc{} || stop != end || key.empty())
            throw PayloadError(fmt::format("{}: '{}' is no number of a variable", name,
                                           key.substr(0, kMaxShownName)));
        result.emplace_back(number, decodeValue(name + "." + key, element));
    }
    return result;
}

const json& requireMember(const std::string& name, const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) throw PayloadError(fmt::format("{}.{} is required", name, key));
    return *found;
}

CobWrites::Local decodeLocal(const std::string& name, const json& value) {
    requireObject(name, value);
    return {decodeIndex(name + ".thread", requireMember(name, value, "thread")),
            decodeIndex(name + ".index", requireMember(name, value, "index")),
            decodeValue(name + ".value", requireMember(name, value, "value"))};
}

std::vector<CobWrites::Local> decodeLocals(const json& value) {
    if (!value.is_array()) failType("set.locals", "array", value);
    std::vector<CobWrites::Local> locals;
    locals.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i)
        locals.push_back(decodeLocal(fmt::format("set.locals[{}]", i), value[i]));
    return locals;
}

/// A word index into the code.
std::uint32_t decodeOffset(std::int64_t value) {
    if (value < 0 || value > kMaxWord)
        throw PayloadError("code offsets and lines must lie in 0 to 4294967295");
    return static_cast<std::uint32_t>(value);
}

std::vector<std::uint32_t> decodeLines(const json& value) {
    if (!value.is_array()) failType("lines", "array", value);
    std::vector<std::uint32_t> lines;
    lines.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i)
        lines.push_back(static_cast<std::uint32_t>(
            decodeWithin(fmt::format("lines[{}]", i), value[i], 1, kMaxWord)));
    return lines;
}

std::optional<CobLineMap> decodeSpans(const Payload& payload) {
    const auto objects = payload.objects("lineSpans");
    if (!objects) return std::nullopt;
    std::vector<CobLineSpan> spans;
    std::vector<std::string> files(1);
    std::unordered_map<std::string, std::uint32_t> fileNumbers;
    spans.reserve(objects->size());
    for (const Payload& span : *objects) {
        spans.push_back({decodeOffset(span.requiredInteger("from")),
                         decodeOffset(span.requiredInteger("to")),
                         decodeOffset(span.requiredInteger("line"))});
        const json* const file = span.member("file");
        if (!file) continue;
        if (!file->is_string()) failType("lineSpans: file", "string", *file);
        const auto [found, isNew] = fileNumbers.try_emplace(
            file->get<std::string>(), static_cast<std::uint32_t>(files.size()));
        if (isNew) files.push_back(found->first);
        spans.back().file = found->second;
    }
    return CobLineMap(std::move(spans), std::move(files));
}

void requireOrder(std::vector<CobLineSpan> spans) {
    std::ranges::stable_sort(spans, {}, &CobLineSpan::from);
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const CobLineSpan& span = spans[i];
        if (span.from > span.to)
            throw PayloadError(
                fmt::format("lineSpans: {} to {} ends before it begins", span.from, span.to));
        if (i > 0 && span.from <= spans[i - 1].to)
            throw PayloadError(fmt::format("lineSpans: {} to {} and {} to {} overlap",
                                           spans[i - 1].from, spans[i - 1].to, span.from, span.to));
    }
}

}  // namespace

bool decodeReport(const Payload& payload) {
    const json* const value = payload.member("report");
    if (value && !value->is_boolean()) failType("report", "boolean", *value);
    return value && value->get<bool>();
}

std::optional<std::uint64_t> decodeCount(const Payload& payload, const char* key) {
    const json* const value = payload.member(key);
    if (!value) return std::nullopt;
    return static_cast<std::uint64_t>(
        decodeWithin(key, *value, 0, std::numeric_limits<std::int64_t>::max()));
}

std::optional<CobWrites> decodeWrites(const Payload& payload) {
    const json* const set = payload.member("set");
    if (!set) return std::nullopt;
    requireObject("set", *set);
    CobWrites writes;
    for (const auto& [key, value] : set->items()) {
        if (key == "statics")
            writes.statics = decodeNumbered<std::uint32_t>("set.statics", value);
        else if (key == "locals")
            writes.locals = decodeLocals(value);
        else if (key == "unitValues")
            writes.unitValues = decodeNumbered<std::int32_t>("set.unitValues", value);
        else
            throw PayloadError(
                fmt::format("set: unknown member '{}'", key.substr(0, kMaxShownName)));
    }
    return writes;
}

BreakpointRequest decodeBreakpoints(const Payload& payload) {
    BreakpointRequest request;
    for (const auto offset : payload.integers("offsets").value_or(std::vector<std::int64_t>{}))
        request.offsets.insert(decodeOffset(offset));
    request.spans = decodeSpans(payload);
    const json* const lines = payload.member("lines");
    if (!lines) return request;
    request.lines = decodeLines(*lines);
    if (request.spans) requireOrder(request.spans->spans());
    return request;
}

}  // namespace orb::unitview::ipc
