#pragma once

#include <exception>
#include <string>

#include "session/request_error.h"

namespace orb::unitview::ipc {

/// Runs an operation whose failure is the whole error reply: `prefix` and the exception's text.
template <typename Operation>
decltype(auto) reportingFailure(Operation&& operation, const std::string& prefix = {}) {
    try {
        return operation();
    } catch (const std::exception& error) {
        throw RequestError(prefix + error.what());
    }
}

}  // namespace orb::unitview::ipc
