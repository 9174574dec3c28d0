#include "model/edit/working_model.h"

#include "model/edit/model_values.h"

namespace orb::unitview {

using io::Model3doObject;

WorkingModel::WorkingModel(const Model3doObject& saved, std::string version)
    : saved_(std::make_shared<const Model3doObject>(copyModel(saved))),
      savedVersion_(std::move(version)) {
    bytes_ = memoryOf(*saved_);
    steps_.push_back({saved_, {}, bytes_});
}

std::size_t WorkingModel::apply(const ModelFix& fix, const Footprint& footprint) {
    Model3doObject changed = copyModel(model());
    const std::size_t count = applyFix(changed, fix, footprint);
    if (count == 0) return 0;
    const std::size_t bytes = memoryOf(changed);
    Step step{std::make_shared<const Model3doObject>(std::move(changed)), fixLabel(fix), bytes};
    for (; redoDepth() > 0; steps_.pop_back()) bytes_ -= steps_.back().bytes;
    steps_.push_back(std::move(step));
    bytes_ += bytes;
    ++position_;
    forgetOldest();
    return count;
}

void WorkingModel::forgetOldest() {
    while (position_ > 0 && (position_ > kMaxUndoSteps || bytes_ > kMaxHistoryBytes)) {
        bytes_ -= steps_.front().bytes;
        steps_.pop_front();
        --position_;
    }
}

std::optional<std::string_view> WorkingModel::undoLabel() const {
    if (undoDepth() == 0) return std::nullopt;
    return steps_[position_].label;
}

std::optional<std::string_view> WorkingModel::redoLabel() const {
    if (redoDepth() == 0) return std::nullopt;
    return steps_[position_ + 1].label;
}

std::optional<std::string_view> WorkingModel::undo() {
    const auto label = undoLabel();
    if (label) --position_;
    return label;
}

std::optional<std::string_view> WorkingModel::redo() {
    const auto label = redoLabel();
    if (label) ++position_;
    return label;
}

}  // namespace orb::unitview
