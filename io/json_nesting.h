#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace orb::io {

/// JSON documents nest at most this deep: serialising a value recurses once a level.
inline constexpr int kMaxJsonNesting = 256;

/// The byte offset of the bracket that opens level `limit` + 1, or none. Only brackets and strings
/// are looked at; whether the text is JSON at all is the parser's question.
std::optional<std::size_t> findJsonNestingBeyond(std::string_view text, int limit);

}  // namespace orb::io
