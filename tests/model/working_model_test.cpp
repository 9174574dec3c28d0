#include "model/edit/working_model.h"

#include <gtest/gtest.h>

#include "model/edit/model_values.h"
#include "tests/model/random_model.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

constexpr Footprint kFootprint = {2, 3};

ModelFix fixOf(const std::string& kind) {
    ModelFix fix;
    fix.kind = kind;
    return fix;
}

/// The history as it should be: every model kept apart.
struct PlainHistory {
    std::vector<Model3doObject> models;
    std::size_t position = 0;

    void add(const Model3doObject& model) {
        models.resize(std::min(models.size(), position + 1));
        models.push_back(copyModel(model));
        position = models.size() - 1;
    }
};

TEST(WorkingModel, GivesBackTheExactEarlierModelsWhateverIsDone) {
    std::map<std::string, int> made;
    int refused = 0;
    for (std::uint32_t seed = 0; seed < 150; ++seed) {
        SCOPED_TRACE(seed);
        ModelDraw draw(seed);
        WorkingModel working(draw.model());
        PlainHistory plain;
        plain.models.push_back(copyModel(working.model()));
        for (int step = 0; step < 60; ++step) {
            if (draw.isOneIn(4)) {
                const bool canUndo = plain.position > 0;
                ASSERT_EQ(working.undo().has_value(), canUndo);
                if (canUndo) --plain.position;
            } else if (draw.isOneIn(4)) {
                const bool canRedo = plain.position + 1 < plain.models.size();
                ASSERT_EQ(working.redo().has_value(), canRedo);
                if (canRedo) ++plain.position;
            } else {
                const ModelFix fix = draw.fix(working.model());
                try {
                    if (working.apply(fix, kFootprint) > 0) {
                        ASSERT_FALSE(isSameModel(working.model(), plain.models[plain.position]))
                            << fix.kind;
                        plain.add(working.model());
                        ++made[fix.kind];
                    }
                } catch (const ModelFixError&) {
                    ++refused;
                }
            }
            ASSERT_TRUE(isSameModel(working.model(), plain.models[plain.position]));
            ASSERT_EQ(working.undoDepth(), plain.position);
            ASSERT_EQ(working.redoDepth(), plain.models.size() - 1 - plain.position);
            ASSERT_EQ(working.isDirty(), plain.position != 0);
            ASSERT_TRUE(isSameModel(io::parse3do(io::write3do(working.model())), working.model()));
        }
    }
    // nothing of this would mean much if the draw made few changes
    EXPECT_EQ(made.size(), 19U);
    for (const auto& [kind, count] : made) EXPECT_GT(count, 10) << kind;
    EXPECT_GT(refused, 100);
}

TEST(WorkingModel, ForgetsTheOldestSteps) {
    Model3doObject model;
    model.name = "base";
    WorkingModel working(model);
    ModelFix move = fixOf("move-piece");
    move.piece = "BASE";
    for (std::size_t i = 1; i <= kMaxUndoSteps + 2; ++i) {
        move.position = {static_cast<double>(i), 0, 0};
        EXPECT_EQ(working.apply(move, kFootprint), 1U);
        if (i == 1) working.markSaved();
    }
    EXPECT_EQ(working.apply(move, kFootprint), 0U);
    EXPECT_EQ(working.undoDepth(), kMaxUndoSteps);
    while (working.undo()) {
    }
    EXPECT_EQ(working.model().position[0], 2);
    EXPECT_TRUE(working.isDirty());  // what was saved is forgotten, 1
    EXPECT_EQ(working.saved().position[0], 1);
    EXPECT_EQ(working.redoLabel(), "Move piece");
}

TEST(WorkingModel, KeepsWithinItsMemory) {
    Model3doObject model;
    model.name = "base";
    model.vertices.resize(1'000'000);  // 12 MB
    model.vertices[1] = {1, 0, 0};
    WorkingModel working(model);
    ModelFix move = fixOf("move-vertices");
    move.piece = std::int64_t{0};
    move.vertices = {1};
    move.byUnits = {1, 0, 0};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(working.apply(move, kFootprint), 1U);
    EXPECT_EQ(working.undoDepth(), kMaxHistoryBytes / memoryOf(model) - 1);
}

TEST(WorkingModel, KnowsWhatIsSaved) {
    Model3doObject model;
    model.name = "base";
    WorkingModel working(model);
    ModelFix rename = fixOf("rename-piece");
    rename.piece = "base";
    rename.name = "hull";
    working.apply(rename, kFootprint);
    EXPECT_TRUE(working.isDirty());
    working.markSaved();
    EXPECT_FALSE(working.isDirty());
    working.undo();
    EXPECT_TRUE(working.isDirty());
    EXPECT_EQ(working.saved().name, "hull");
    working.redo();
    EXPECT_FALSE(working.isDirty());
}

}  // namespace
}  // namespace orb::unitview
