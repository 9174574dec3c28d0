#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "io/byte_cursor.h"

/// What the fuzz targets share. A target is one file that defines `run`.
namespace orb::fuzz {

/// Feeds one input to the target. Whatever escapes is a fault.
void run(io::ByteView input);

/// The exit status of a process that the kernel cannot keep to its own folders; nothing was run.
inline constexpr int kCannotConfine = 3;

/// A folder of this process's own below the system's temporary one: beside corpus and artefacts the
/// only place where the process may write anything at all.
const std::filesystem::path& scratchFolder();

/// A broken invariant: says so and ends the process, as a crash does.
inline void require(bool isTrue, std::string_view invariant) {
    if (isTrue) return;
    std::fprintf(stderr, "broken: %.*s\n", static_cast<int>(invariant.size()), invariant.data());
    std::abort();
}

/// Calls a reader, which may refuse its input with a std::runtime_error; false then.
template <typename Read>
bool accepts(Read&& read) {
    try {
        read();
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

/// Takes small choices from the front of an input; an input that has ended gives zeros.
class Choices {
public:
    explicit Choices(io::ByteView input) : rest_(input) {}

    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    std::uint32_t word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i) word = word << 8 | byte();
        return word;
    }
    bool flag() { return (byte() & 1) != 0; }
    /// 0 to `count` - 1.
    std::size_t below(std::size_t count) { return byte() % count; }
    /// Up to `length` bytes.
    io::ByteView take(std::size_t length) {
        const io::ByteView taken = rest_.first(std::min(length, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    /// The bytes up to the next `delimiter`, which is dropped.
    std::string_view until(char delimiter) {
        const std::string_view text = io::asText(rest_);
        const std::string_view taken = text.substr(0, text.find(delimiter));
        rest_ = rest_.subspan(std::min(taken.size() + 1, rest_.size()));
        return taken;
    }
    bool isEmpty() const { return rest_.empty(); }
    io::ByteView rest() const { return rest_; }

private:
    io::ByteView rest_;
};

inline io::ByteView bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace orb::fuzz
