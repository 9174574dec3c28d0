#include "io/virtual_path.h"

#include <algorithm>

namespace orb::io {

VirtualPath::VirtualPath(std::string_view text, Parse) : text_(text) {
    constexpr std::string_view kSeparators = "/\\";
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find_first_of(kSeparators, begin), text.size());
        if (end > begin) components_.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    isPlain_ = std::ranges::all_of(components_, isPlainComponent);
}

}  // namespace orb::io
