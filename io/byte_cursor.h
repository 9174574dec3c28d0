#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orb::io {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// The same bytes as text.
inline std::string_view asText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The same text as bytes.
inline ByteView asBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A bounds-checked little-endian reader over bytes that it does not own. Every read past the end
/// throws std::runtime_error with the text given at construction, so a format names its own error.
class ByteCursor {
public:
    /// `outOfBoundsText` must outlive the cursor (in practice a string literal).
    ByteCursor(ByteView bytes, const char* outOfBoundsText)
        : bytes_(bytes), outOfBoundsText_(outOfBoundsText) {}

    std::size_t size() const { return bytes_.size(); }
    std::size_t position() const { return position_; }
    std::size_t remaining() const { return bytes_.size() - position_; }

    /// True when `length` bytes lie inside the buffer from `offset` on.
    bool holds(std::size_t offset, std::size_t length) const {
        return offset <= bytes_.size() && length <= bytes_.size() - offset;
    }

    /// Moves to `offset`; the end itself is allowed, anything beyond throws.
    void seek(std::size_t offset) {
        require(offset, 0);
        position_ = offset;
    }
    void skip(std::size_t length) { take(length); }

    std::uint8_t u8() { return take(1)[0]; }
    std::uint16_t u16() {
        const ByteView b = take(2);
        return static_cast<std::uint16_t>(b[0] | b[1] << 8);
    }
    std::int16_t i16() { return static_cast<std::int16_t>(u16()); }
    std::uint32_t u32() {
        const ByteView b = take(4);
        return std::uint32_t{b[0]} | std::uint32_t{b[1]} << 8 | std::uint32_t{b[2]} << 16 |
               std::uint32_t{b[3]} << 24;
    }
    std::int32_t i32() { return static_cast<std::int32_t>(u32()); }

    /// The next `length` bytes, as a view into the underlying buffer.
    ByteView take(std::size_t length) {
        require(position_, length);
        const ByteView taken = bytes_.subspan(position_, length);
        position_ += length;
        return taken;
    }

    /// A view of `length` bytes at `offset`; the position stays.
    ByteView view(std::size_t offset, std::size_t length) const {
        require(offset, length);
        return bytes_.subspan(offset, length);
    }

    /// The bytes from `offset` up to a NUL or the buffer's end; empty when `offset` lies outside.
    std::string_view cString(std::size_t offset) const {
        if (offset >= bytes_.size()) return {};
        const std::string_view rest(reinterpret_cast<const char*>(bytes_.data()) + offset,
                                    bytes_.size() - offset);
        return rest.substr(0, rest.find('\0'));
    }

    /// Throws when `count` records of `recordSize` bytes at `offset` do not fit; call it before
    /// reserving memory for a count that comes from the file.
    void requireArray(std::size_t offset, std::size_t count, std::size_t recordSize) const {
        if (!holds(offset, 0) || count > (bytes_.size() - offset) / recordSize) fail();
    }

private:
    void require(std::size_t offset, std::size_t length) const {
        if (!holds(offset, length)) fail();
    }
    [[noreturn]] void fail() const { throw std::runtime_error(outOfBoundsText_); }

    ByteView bytes_;
    std::size_t position_ = 0;
    const char* outOfBoundsText_;
};

/// The cursor's twin: appends little-endian values to a growing buffer.
class ByteWriter {
public:
    std::size_t position() const { return bytes_.size(); }
    ByteView view() const { return bytes_; }
    Bytes take() { return std::move(bytes_); }
    /// Room for that many bytes in all, so that growing up to them copies nothing.
    void reserve(std::size_t size) { bytes_.reserve(size); }

    void u8(std::uint8_t value) { bytes_.push_back(value); }
    void u16(std::uint16_t value) { append(value, 2); }
    void u32(std::uint32_t value) { append(value, 4); }
    void i32(std::int32_t value) { u32(static_cast<std::uint32_t>(value)); }
    void bytes(ByteView data) { bytes_.insert(bytes_.end(), data.begin(), data.end()); }
    void text(std::string_view data) { bytes_.insert(bytes_.end(), data.begin(), data.end()); }
    void cString(std::string_view data) {
        text(data);
        u8(0);
    }
    void zeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }

    /// Overwrites four bytes already written.
    void patchU32(std::size_t offset, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes_.at(offset + i) = static_cast<std::uint8_t>(value >> 8 * i);
    }

private:
    void append(std::uint32_t value, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i)
            bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    }

    Bytes bytes_;
};

}  // namespace orb::io
