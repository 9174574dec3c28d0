#pragma once

#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace orb::unitview::ipc {

/// Parses strict JSON into `value`, which is null before. It does what the library's own parsing
/// does, only that a text which the memory cannot hold leaves what there is of it in `value`, so
/// that the caller can dismantle that. Throws json::exception and std::bad_alloc.
void parseJson(std::string_view text, nlohmann::json& value);

}  // namespace orb::unitview::ipc
