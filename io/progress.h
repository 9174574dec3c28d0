#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace orb::io {

/// Told how far a long operation has come: what it is at, how much of it is done, and of how much.
/// Operations tell it of every step, so a listener that is slow must pick. One without a listener
/// tells nobody.
class Progress {
public:
    using Listener =
        std::function<void(std::string_view label, std::size_t done, std::size_t total)>;

    Progress() = default;
    explicit Progress(Listener listener) : listener_(std::move(listener)) {}

    void operator()(std::string_view label, std::size_t done, std::size_t total) const {
        if (listener_) listener_(label, done, total);
    }

private:
    Listener listener_;
};

}  // namespace orb::io
