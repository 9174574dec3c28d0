#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orb::sim {

/// The parts of the world that are hashed apart, so that a difference names its subject.
enum class StatePart : std::uint8_t {
    units,
    scripts,
    orders,
    routes,
    projectiles,
    features,
    economy,
    sight,
};
inline constexpr std::array<std::string_view, 8> kStatePartNames = {
    "units", "scripts", "orders", "routes", "projectiles", "features", "economy", "sight"};

/// Takes state as `putState` gives it and mixes it into one number.
class HashSink {
public:
    void number(std::string_view, std::int64_t value) { mix(static_cast<std::uint64_t>(value)); }
    void text(std::string_view, std::string_view value) {
        mix(value.size());
        for (const char c : value) mix(static_cast<unsigned char>(c));
    }
    void open(std::string_view) {}
    void close() {}

    std::uint64_t value() const { return hash_; }

private:
    /// A multiplication spreads the word upwards, the shift brings it down again.
    void mix(std::uint64_t word) {
        hash_ = (hash_ ^ word) * 0x9E3779B97F4A7C15;
        hash_ ^= hash_ >> 29;
    }

    std::uint64_t hash_ = 0x243F6A8885A308D3;
};

/// Writes state as lines "units.element.place.x 4194304"; elements are told apart by their order.
class DumpSink {
public:
    void number(std::string_view name, std::int64_t value) { line(name, std::to_string(value)); }
    void text(std::string_view name, std::string_view value) { line(name, value); }
    void open(std::string_view name) {
        ends_.push_back(path_.size());
        path_.append(name).append(".");
    }
    void close() {
        path_.resize(ends_.back());
        ends_.pop_back();
    }

    std::string take() { return std::move(lines_); }

private:
    void line(std::string_view name, std::string_view value) {
        lines_.append(path_).append(name).append(" ").append(value).append("\n");
    }

    std::string path_;
    std::vector<std::size_t> ends_;
    std::string lines_;
};

/// A number for each part of the state.
struct StateHash {
    std::array<std::uint64_t, kStatePartNames.size()> parts{};
    bool operator==(const StateHash&) const = default;

    std::uint64_t whole() const {
        HashSink sink;
        for (const std::uint64_t part : parts) sink.number({}, static_cast<std::int64_t>(part));
        return sink.value();
    }
};

}  // namespace orb::sim
