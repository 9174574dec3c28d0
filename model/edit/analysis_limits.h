#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "io/formats/model3do.h"

namespace orb::unitview {

/// Thrown text of an analysis that would take too long or too much memory.
inline constexpr const char* kTooLargeToAnalyse = "model too large to analyse";

/// Vertices, faces and corners of a model that is analysed, together. Models of the game have some
/// thousands; files may have millions, since faces may share arrays.
inline constexpr std::size_t kMaxAnalysedParts = std::size_t{1} << 19;

/// Throws std::runtime_error "model too large to analyse" beyond that.
void requireAnalysable(const io::Model3doObject& root);

/// A search would take too long.
class WorkBudgetSpent : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Steps that a search may take, whatever is in the file.
class WorkBudget {
public:
    explicit WorkBudget(std::uint64_t steps, std::string text = kTooLargeToAnalyse)
        : left_(steps), text_(std::move(text)) {}

    /// Throws WorkBudgetSpent with the text when there are not that many left.
    void spend(std::uint64_t steps) {
        if (steps > left_) throw WorkBudgetSpent(text_);
        left_ -= steps;
    }

private:
    std::uint64_t left_;
    std::string text_;
};

}  // namespace orb::unitview
