#include "io/archive/hpi_lz77.h"

#include <algorithm>
#include <array>
#include <vector>

namespace orb::io {
namespace {

constexpr std::size_t kWindowMask = 0xFFF;
/// A reference to two bytes would be as long as they are.
constexpr std::size_t kMinMatch = 3;
constexpr std::size_t kMaxMatch = 17;
/// Places with the same next bytes that are compared, the nearest first.
constexpr int kMaxCandidates = 64;
constexpr std::size_t kHashBits = 12;

/// Where a byte of the output lands in the window.
constexpr std::size_t windowPosition(std::size_t index) {
    return (index + 1) & kWindowMask;
}

struct Match {
    std::size_t begin = 0;
    std::size_t length = 0;
};

/// Finds earlier occurrences of what comes next, by chains of places with the same hash.
class MatchFinder {
public:
    explicit MatchFinder(ByteView input) : input_(input), previous_(input.size()) {
        latest_.fill(kNowhere);
    }

    Match longest(std::size_t at) const {
        Match best;
        if (input_.size() - at < kMinMatch) return best;
        std::size_t candidate = latest_[hashAt(at)];
        for (int i = 0; i < kMaxCandidates && candidate != kNowhere; ++i) {
            if (at - candidate > kWindowMask) break;
            const std::size_t length = commonLength(candidate, at);
            // Position 0 is the mark of the end.
            if (length > best.length && windowPosition(candidate) != 0) best = {candidate, length};
            candidate = previous_[candidate];
        }
        return best.length < kMinMatch ? Match{} : best;
    }

    void add(std::size_t at) {
        if (input_.size() - at < kMinMatch) return;
        std::size_t& latest = latest_[hashAt(at)];
        previous_[at] = latest;
        latest = at;
    }

private:
    static constexpr std::size_t kNowhere = ~std::size_t{0};

    std::size_t hashAt(std::size_t at) const {
        const std::uint32_t bytes =
            std::uint32_t{input_[at]} << 16 | std::uint32_t{input_[at + 1]} << 8 | input_[at + 2];
        return bytes * 0x9E3779B1U >> (32 - kHashBits);
    }

    std::size_t commonLength(std::size_t a, std::size_t b) const {
        const std::size_t limit = std::min(kMaxMatch, input_.size() - b);
        std::size_t length = 0;
        while (length < limit && input_[a + length] == input_[b + length]) ++length;
        return length;
    }

    ByteView input_;
    std::array<std::size_t, 1 << kHashBits> latest_;
    std::vector<std::size_t> previous_;
};

/// Collects items behind their tag bytes.
class ItemWriter {
public:
    void literal(std::uint8_t byte) {
        beginItem(false);
        bytes.push_back(byte);
    }
    void reference(std::size_t position, std::size_t length) {
        beginItem(true);
        const std::size_t word = position << 4 | (length - 2);
        bytes.push_back(static_cast<std::uint8_t>(word & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    }
    void end() { reference(0, 2); }

    Bytes bytes;

private:
    void beginItem(bool isReference) {
        if (item_ == 0) {
            tag_ = bytes.size();
            bytes.push_back(0);
        }
        if (isReference) bytes[tag_] = static_cast<std::uint8_t>(bytes[tag_] | 1U << item_);
        item_ = (item_ + 1) % 8;
    }

    std::size_t tag_ = 0;
    unsigned item_ = 0;
};

}  // namespace

std::size_t decodeLz77(ByteView input, std::span<std::uint8_t> output) {
    std::array<std::uint8_t, kWindowMask + 1> window{};
    std::size_t windowEnd = 1;
    std::size_t in = 0;
    std::size_t out = 0;
    const auto emit = [&](std::uint8_t byte) {
        output[out++] = byte;
        window[windowEnd++ & kWindowMask] = byte;
    };
    while (out < output.size() && in < input.size()) {
        unsigned tag = input[in++];
        for (int item = 0; item < 8; ++item, tag >>= 1) {
            if (in >= input.size() || out == output.size()) return out;
            if ((tag & 1) == 0) {
                emit(input[in++]);
                continue;
            }
            if (in + 1 >= input.size()) return out;
            const unsigned reference = input[in] | unsigned{input[in + 1]} << 8;
            in += 2;
            const std::size_t source = reference >> 4;
            if (source == 0) return out;
            const std::size_t announced = (reference & 0xF) + 2;
            const std::size_t length = std::min(announced, output.size() - out);
            for (std::size_t i = 0; i < length; ++i) emit(window[(source + i) & kWindowMask]);
        }
    }
    return out;
}

Bytes encodeLz77(ByteView input) {
    MatchFinder finder(input);
    ItemWriter writer;
    for (std::size_t at = 0; at < input.size();) {
        const Match match = finder.longest(at);
        const std::size_t length = std::max<std::size_t>(match.length, 1);
        if (match.length == 0)
            writer.literal(input[at]);
        else
            writer.reference(windowPosition(match.begin), match.length);
        for (std::size_t i = 0; i < length; ++i) finder.add(at + i);
        at += length;
    }
    writer.end();
    return std::move(writer.bytes);
}

}  // namespace orb::io
