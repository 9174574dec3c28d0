#include "cob/cob_code.h"

namespace orb::unitview {

CobCode::CobCode(std::span<const std::uint32_t> words) : marks_(words.size()) {
    words_.reserve(words.size() + kMaxOperands);
    words_.assign(words.begin(), words.end());
    words_.resize(words.size() + kMaxOperands);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Op op = opOf(words[i]);
        const bool whole = opcodeRow(op).length() <= words.size() - i;
        marks_[i] =
            static_cast<std::uint8_t>(static_cast<unsigned>(op) | (whole ? 0U : kTruncated));
    }
}

void CobCode::askOnlyAt(const std::set<std::uint32_t>& offsets) {
    asksEverywhere_ = false;
    for (const std::uint32_t offset : asked_) marks_[offset] &= static_cast<std::uint8_t>(~kAsk);
    asked_.clear();
    for (const std::uint32_t offset : offsets) {
        if (offset >= marks_.size()) break;
        marks_[offset] |= kAsk;
        asked_.push_back(offset);
    }
}

}  // namespace orb::unitview
