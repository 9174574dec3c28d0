#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <vector>

#include "cob/opcodes.h"

namespace orb::unitview {

/// The code of one instance, decoded once: every word has a mark byte that holds its opcode and
/// whether the interpreter has to look closer before executing it. Breakpoints live in these marks,
/// which makes code without breakpoints run as fast as if there were none. (Asking a predicate
/// before every instruction costs several times the instruction itself.)
class CobCode {
public:
    /// Bits of a mark beside the opcode.
    static constexpr std::uint8_t kAsk = 0x80;        ///< ask the breakpoint predicate first
    static constexpr std::uint8_t kTruncated = 0x40;  ///< operands run past the end of the code
    static constexpr std::uint8_t kOpMask = 0x3F;
    static_assert(kOpCount <= kOpMask + 1);

    explicit CobCode(std::span<const std::uint32_t> words);

    std::size_t size() const { return marks_.size(); }
    /// The words, and behind them zeros for the operands that a truncated instruction lacks.
    const std::uint32_t* words() const { return words_.data(); }
    const std::uint8_t* marks() const { return marks_.data(); }

    /// Which offsets the breakpoint predicate is asked about. A new object asks at every one;
    /// asking more often than needed costs time only.
    void askEverywhere() { asksEverywhere_ = true; }
    void askOnlyAt(const std::set<std::uint32_t>& offsets);
    bool asksEverywhere() const { return asksEverywhere_; }

private:
    std::vector<std::uint32_t> words_;
    std::vector<std::uint8_t> marks_;
    std::vector<std::uint32_t> asked_;
    bool asksEverywhere_ = true;
};

}  // namespace orb::unitview
