#pragma once

#include <nlohmann/json.hpp>

#include "io/byte_cursor.h"

namespace orb::unitview::ipc {

/// What a handler answers.
struct Reply {
    /// The reply's "data".
    nlohmann::json data = nlohmann::json::object();
    /// For commands with a binary result; its length is the reply's "byteSize".
    io::Bytes frame = {};
};

}  // namespace orb::unitview::ipc
