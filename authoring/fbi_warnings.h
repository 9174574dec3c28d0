#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orb::unitview {

/// Something in a definition's text that reads, but that nobody can have meant.
struct FbiWarning {
    /// Both count from 1, columns in bytes.
    std::size_t line = 0;
    std::size_t column = 0;
    std::string message;
};

/// So many warnings of one text are worth reading.
inline constexpr std::size_t kMaxFbiWarnings = 100;

/// Looks for a section that is never closed, text outside sections or that means nothing, a "}"
/// that ends the text, a key that a section assigns twice, a value that runs over the end of its
/// line, and in [UNITINFO] an unknown key that is nearly a known one. In the order of the text.
std::vector<FbiWarning> findFbiWarnings(std::string_view text);

}  // namespace orb::unitview
