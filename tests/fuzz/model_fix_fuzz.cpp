#include "fuzzing.h"
#include "io/formats/model3do.h"
#include "model/edit/bleed_through.h"
#include "model/edit/model_issues.h"
#include "model/edit/model_values.h"
#include "model/edit/working_model.h"
#include "tests/model/random_model.h"

// A 3DO model whose last bytes, which are no part of it, seed a sequence of changes: whatever is
// changed, taken back and made again, the history holds what the models were, and every one of them
// survives its file. One with pieces that the reader leaves out is never written.

namespace orb::fuzz {
namespace {

using namespace unitview;

constexpr int kSteps = 12;
constexpr Footprint kFootprint = {3, 2};
/// Larger models are read, but not changed: they would only cost time.
constexpr std::size_t kMaxChanged = 1 << 14;

void checkAnalyses(const io::Model3doObject& model) {
    accepts([&] {
        const auto issues = findIssues(model, {});
        require(issues.size() == flattenPieces(model).size(), "every piece has its issues");
    });
    accepts([&] {
        const BleedThrough result = findBleedThrough(model, {false, kMinDirections});
        for (const BledFace& face : result.faces)
            require(face.share > 0 && face.share <= 1, "a share is a share");
    });
}

void checkStep(const WorkingModel& working) {
    require(lacksPieces(working.model()) ||
                isSameModel(io::parse3do(io::write3do(working.model())), working.model()),
            "a model reads as it was written");
    require(working.undoDepth() <= kMaxUndoSteps, "the history has an end");
}

void changeAtRandom(WorkingModel& working, ModelDraw& draw) {
    const io::Model3doObject before = copyModel(working.model());
    std::size_t changed = 0;
    if (accepts([&] { changed = working.apply(draw.fix(before), kFootprint); }) && changed > 0) {
        require(working.undo().has_value(), "a step can be undone");
        require(isSameModel(working.model(), before), "undoing gives back what was");
        require(working.redo().has_value(), "and done again");
    }
    require((changed > 0) != isSameModel(working.model(), before), "a change is a change");
    checkStep(working);
}

}  // namespace

void run(io::ByteView input) {
    io::Model3doObject model;
    if (!accepts([&] { model = io::parse3do(input); })) return;
    ModelDraw draw(Choices(input.last(sizeof(std::uint32_t))).word());
    if (memoryOf(model) > kMaxChanged || flattenPieces(model).empty()) return;
    checkAnalyses(model);
    WorkingModel working(model);
    for (int step = 0; step < kSteps; ++step) changeAtRandom(working, draw);
    checkAnalyses(working.model());
    while (working.undo()) {
    }
    require(isSameModel(working.model(), model), "the history begins where it began");
}

}  // namespace orb::fuzz
