#include "server/parse_json.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

/// Puts together what the library's lexer finds.
class Builder {
public:
    explicit Builder(json& root) : place_(&root) {}

    // The names are those that the library calls.
    bool null() { return put(nullptr); }
    bool boolean(bool value) { return put(value); }
    bool number_integer(std::int64_t value) { return put(value); }
    bool number_unsigned(std::uint64_t value) { return put(value); }
    bool number_float(double value, const std::string&) { return put(value); }
    bool string(std::string& value) { return put(std::move(value)); }
    bool binary(json::binary_t& value) { return put(std::move(value)); }
    bool start_object(std::size_t) { return open(json::value_t::object); }
    bool start_array(std::size_t) { return open(json::value_t::array); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool key(std::string& name) {
        place_ = &open_.back()->get_ref<json::object_t&>()[std::move(name)];
        return true;
    }
    [[noreturn]] static bool parse_error(std::size_t, const std::string&,
                                         const json::exception& error) {
        throw json::exception(error);
    }

private:
    json& place() {
        if (open_.empty() || !open_.back()->is_array()) return *place_;
        return open_.back()->get_ref<json::array_t&>().emplace_back();
    }
    template <typename Value>
    bool put(Value&& value) {
        place() = json(std::forward<Value>(value));
        return true;
    }
    bool open(json::value_t type) {
        json& value = place();
        value = json(type);
        open_.push_back(&value);
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    /// Of the document, or of the member whose name came last.
    json* place_;
    std::vector<json*> open_;
};

}  // namespace

void parseJson(std::string_view text, json& value) {
    Builder builder(value);
    json::sax_parse(text, &builder);
}

}  // namespace orb::unitview::ipc
