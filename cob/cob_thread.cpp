#include "cob/cob_thread.h"

namespace orb::unitview {

void ValueStack::growOrSlide() {
    constexpr std::size_t kFirstCapacity = 16;
    constexpr std::size_t kMaxCapacity = 2 * kMaxStackWords;
    const bool full = words().size() == kMaxStackWords;
    if (full) ++bottom_;
    const std::size_t size = words().size();
    if (buffer_.size() < kMaxCapacity) {
        const auto offset = bottom_ - buffer_.data();
        buffer_.resize(std::max(kFirstCapacity, 2 * buffer_.size()));
        bottom_ = buffer_.data() + offset;
    } else {
        std::copy(bottom_, top_, buffer_.data());
        bottom_ = buffer_.data();
    }
    top_ = bottom_ + size;
    const auto capacity = static_cast<std::size_t>(buffer_.data() + buffer_.size() - bottom_);
    end_ = bottom_ + std::min(capacity, kMaxStackWords);
}

std::span<const std::int32_t> LocalFrames::frame(std::size_t index) const {
    const std::size_t start = starts_.at(index);
    const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] : words_.size();
    return {words_.data() + start, end - start};
}

std::span<std::int32_t> LocalFrames::open(std::size_t locals) {
    starts_.push_back(static_cast<std::uint32_t>(words_.size()));
    const std::size_t room = std::min(kMaxLocalsPerFrame, kMaxLocalsPerThread - words_.size());
    words_.resize(words_.size() + std::min(locals, room));
    return current();
}

void LocalFrames::setFirst(std::span<const std::int32_t> locals) {
    const auto count = static_cast<std::ptrdiff_t>(std::min(locals.size(), kMaxLocalsPerFrame));
    words_.assign(locals.begin(), locals.begin() + count);
}

void LocalFrames::close() {
    words_.resize(starts_.back());
    starts_.pop_back();
}

void LocalFrames::addLocal() {
    const std::size_t locals = words_.size() - starts_.back();
    if (locals < kMaxLocalsPerFrame && words_.size() < kMaxLocalsPerThread) words_.push_back(0);
}

}  // namespace orb::unitview
