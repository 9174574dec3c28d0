#include "io/json_nesting.h"

namespace orb::io {

std::optional<std::size_t> findJsonNestingBeyond(std::string_view text, int limit) {
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
            case '[':
            case '{':
                if (++depth > limit) return i;
                break;
            case ']':
            case '}':
                --depth;
                break;
            case '"':
                for (++i; i < text.size() && text[i] != '"'; ++i)
                    if (text[i] == '\\') ++i;
                break;
            default:
                break;
        }
    }
    return std::nullopt;
}

}  // namespace orb::io
