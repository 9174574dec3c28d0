#pragma once

#include <stdexcept>

namespace orb::unitview {

/// A request that cannot be served; its text is the whole error reply, as the front end shows it.
class RequestError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace orb::unitview
