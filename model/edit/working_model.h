#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "model/edit/model_fix.h"

namespace orb::unitview {

/// Steps that can be undone, and the memory that all kept models take; the oldest are forgotten.
inline constexpr std::size_t kMaxUndoSteps = 256;
inline constexpr std::size_t kMaxHistoryBytes = std::size_t{64} << 20;

/// A unit's model under change: the whole models that it has been, and the one that it is.
class WorkingModel {
public:
    /// Begins with a copy of a model, which counts as saved in a file of that content version.
    explicit WorkingModel(const io::Model3doObject& saved, std::string version = {});

    const io::Model3doObject& model() const { return *steps_[position_].model; }

    /// Makes a change, as one step behind the present one; what was undone is forgotten. Returns
    /// what it changed; nothing is no step. Throws as applyFix does, and then nothing is changed.
    std::size_t apply(const ModelFix& fix, const Footprint& footprint);

    /// Go back or forth by one step and return its label; none when there is no step.
    std::optional<std::string_view> undo();
    std::optional<std::string_view> redo();

    std::size_t undoDepth() const { return position_; }
    std::size_t redoDepth() const { return steps_.size() - 1 - position_; }
    /// What undo and redo would return.
    std::optional<std::string_view> undoLabel() const;
    std::optional<std::string_view> redoLabel() const;
    /// There is a step to undo or redo.
    bool hasEdits() const { return steps_.size() > 1; }

    /// What all kept models take, in bytes.
    std::size_t memory() const { return bytes_; }

    /// Marks the present model as saved in a file of that content version.
    void markSaved(std::string version = {}) {
        saved_ = steps_[position_].model;
        setSavedVersion(std::move(version));
    }
    /// The file that holds the saved model has another content now, which reads the same.
    void setSavedVersion(std::string version) {
        savedVersion_ = std::move(version);
        isSavedReplaced_ = false;
    }
    /// That file holds another model now, and no step is what it holds.
    void setSavedReplaced() { isSavedReplaced_ = true; }
    const std::string& savedVersion() const { return savedVersion_; }
    /// The model that was saved last.
    const io::Model3doObject& saved() const { return *saved_; }
    /// The present model is another one than was saved. Going back to that makes it clean again; a
    /// model that only looks like it does not.
    bool isDirty() const { return isSavedReplaced_ || steps_[position_].model != saved_; }

private:
    struct Step {
        std::shared_ptr<const io::Model3doObject> model;
        /// Of the change that led here; empty for the first.
        std::string_view label;
        std::size_t bytes = 0;
    };

    void forgetOldest();

    std::deque<Step> steps_;
    std::size_t position_ = 0;
    std::size_t bytes_ = 0;
    std::shared_ptr<const io::Model3doObject> saved_;
    std::string savedVersion_;
    bool isSavedReplaced_ = false;
};

}  // namespace orb::unitview
