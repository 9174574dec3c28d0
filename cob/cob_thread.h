#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orb::unitview {

/// Words on a thread's value stack. Scripts leave one value there with every call, some in endless
/// loops, so a full stack forgets its oldest word and never refuses a new one.
inline constexpr std::size_t kMaxStackWords = 65536;
/// Calls that a thread can be inside of; a call beyond discards its arguments.
inline constexpr std::size_t kMaxCallDepth = 1024;
/// Locals of one frame, and of all frames of one thread together; a further local is dropped. The
/// second limit keeps 256 deeply recursive threads from taking a gigabyte.
inline constexpr std::size_t kMaxLocalsPerFrame = 1024;
inline constexpr std::size_t kMaxLocalsPerThread = 65536;

/// A stack of 32-bit words that reads 0 when empty.
class ValueStack {
public:
    /// The stack's hot state by value, so that a loop can keep it in registers. While one is in
    /// use the stack itself is stale; `store` brings it up to date.
    class Cursor {
    public:
        explicit Cursor(ValueStack& stack) : stack_(&stack) { load(); }

        std::int32_t pop() { return top_ == bottom_ ? 0 : *--top_; }
        void push(std::int32_t value) {
            if (top_ == end_) [[unlikely]] {
                store();
                stack_->makeRoom();
                load();
            }
            *top_++ = value;
        }
        /// Replaces the two topmost words by `operation(left, right)`; right is the top.
        template <typename Operation>
        void combine(Operation operation) {
            if (top_ - bottom_ >= 2) [[likely]] {
                --top_;
                top_[-1] = operation(top_[-1], top_[0]);
                return;
            }
            const std::int32_t right = pop();
            const std::int32_t left = pop();
            push(operation(left, right));
        }
        void load() {
            bottom_ = stack_->bottom_;
            top_ = stack_->top_;
            end_ = stack_->end_;
        }
        void store() const { stack_->top_ = top_; }

    private:
        ValueStack* stack_;
        std::int32_t* bottom_ = nullptr;
        std::int32_t* top_ = nullptr;
        std::int32_t* end_ = nullptr;
    };

    ValueStack() = default;
    ValueStack(const ValueStack&) = delete;
    ValueStack& operator=(const ValueStack&) = delete;

    /// Bottom first.
    std::span<const std::int32_t> words() const { return {bottom_, top_}; }
    bool empty() const { return top_ == bottom_; }

    std::int32_t pop() { return empty() ? 0 : *--top_; }
    void push(std::int32_t value) {
        if (top_ == end_) makeRoom();
        *top_++ = value;
    }
    /// Pops `count` words, or all when there are fewer.
    void drop(std::size_t count) { top_ -= std::min(count, words().size()); }
    /// Pops words into `values`, the top into the first one; those that the stack lacks stay.
    void popInto(std::span<std::int32_t> values) {
        const std::size_t count = std::min(values.size(), words().size());
        std::reverse_copy(top_ - count, top_, values.begin());
        top_ -= count;
    }
    void clear() { top_ = bottom_; }

private:
    /// Grows the buffer, or forgets the oldest word; afterwards one word fits.
    void makeRoom() {
        if (end_ == buffer_.data() + buffer_.size()) return growOrSlide();
        ++bottom_;
        ++end_;
    }
    /// What `makeRoom` does at the buffer's end. The buffer holds two limits' worth at most, so
    /// that the words slide to its front only once in a limit of pushes.
    void growOrSlide();

    std::vector<std::int32_t> buffer_;
    std::int32_t* bottom_ = nullptr;
    std::int32_t* top_ = nullptr;
    /// Pushing here needs `makeRoom`: the buffer's end, or the limit's worth above the bottom.
    std::int32_t* end_ = nullptr;
};

/// The local variables of a thread's nested calls, frame after frame in one array. There is always
/// at least one frame.
class LocalFrames {
public:
    std::size_t count() const { return starts_.size(); }
    /// Frame 0 belongs to the script that the thread was started at.
    std::span<const std::int32_t> frame(std::size_t index) const;
    std::span<std::int32_t> current() {
        return {words_.data() + starts_.back(), words_.size() - starts_.back()};
    }

    /// Opens a frame for up to `locals` variables of value 0; returns it.
    std::span<std::int32_t> open(std::size_t locals);
    /// Replaces the only frame of a new thread.
    void setFirst(std::span<const std::int32_t> locals);
    void close();
    /// Adds one local of value 0 to the current frame.
    void addLocal();

private:
    std::vector<std::int32_t> words_;
    std::vector<std::uint32_t> starts_{0};
};

/// A thread runs while it is `runnable`; the other states say what it waits for.
enum class CobThreadState : std::uint8_t {
    runnable = 0,
    sleeping = 1,
    waitingForTurn = 2,
    waitingForMove = 3,
    finished = 4,
};

/// One running script of a unit.
struct CobThread {
    /// Counts the threads of an instance in the order of their birth; names the thread in traces.
    std::uint32_t id = 0;
    CobThreadState state = CobThreadState::runnable;
    /// Word index into the code.
    std::uint32_t pc = 0;
    ValueStack stack;
    /// Where each call returns to, outermost first; one less than there are frames.
    std::vector<std::uint32_t> returnPcs;
    LocalFrames frames;
    /// Tick at which a sleeping thread wakes.
    std::int32_t sleepUntil = 0;
    /// Model piece and axis of the last wait.
    std::int32_t waitPiece = 0;
    std::int32_t waitAxis = 0;
    std::int32_t signalMask = 0;
    /// Signals sent in the current slice: nobody but this thread and those that it started since
    /// can hear them again before the slice ends.
    std::int32_t sentSignals = 0;
    /// It did not end by itself.
    bool wasSignalled = false;
    /// The host's number for a thread whose end it wants to hear of.
    std::optional<std::uint32_t> callId;
};

}  // namespace orb::unitview
