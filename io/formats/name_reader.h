#pragma once

#include <string>

#include "io/byte_cursor.h"

namespace orb::io {

/// Names copied out of one file hold at most this many bytes together. Many records may point at
/// one long name, so a file's length alone does not bound the copies, and replies repeat them.
inline constexpr std::size_t kMaxNameBytesPerFile = std::size_t{4} << 20;

/// Reads the NUL-terminated names of one file by offset. A name outside the buffer is empty; so are
/// the name that exceeds the limit and all that follow.
class NameReader {
public:
    explicit NameReader(const ByteCursor& file, std::size_t limit = kMaxNameBytesPerFile)
        : file_(file), bytesLeft_(limit) {}

    std::string read(std::uint32_t offset) {
        if (bytesLeft_ == 0) return {};
        const std::string_view name = file_.cString(offset);
        if (name.size() > bytesLeft_) {
            bytesLeft_ = 0;
            return {};
        }
        bytesLeft_ -= name.size();
        return std::string(name);
    }

private:
    ByteCursor file_;
    std::size_t bytesLeft_;
};

}  // namespace orb::io
