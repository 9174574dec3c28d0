#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "io/out_of_memory.h"

namespace orb::unitview {

/// A request that cannot be served; its text is the whole error reply, as the front end shows it.
class RequestError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs an operation whose failure is the whole error reply: `prefix` and the exception's text.
template <typename Operation>
decltype(auto) reportingFailure(Operation&& operation, const std::string& prefix = {}) {
    try {
        return operation();
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw RequestError(prefix + error.what());
    }
}

}  // namespace orb::unitview
