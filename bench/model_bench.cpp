// Analyses a model as an editor does after every change. Baseline of the same run: casting the same
// lines of sight against every triangle.

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "bench/figures.h"
#include "model/edit/bleed_through.h"
#include "model/edit/model_issues.h"
#include "model/edit/model_values.h"
#include "model/edit/triangle_tree.h"
#include "model/edit/working_model.h"
#include "tests/model/random_model.h"

namespace {

using namespace orb;
using namespace orb::unitview;

/// Of 5,000 faces one in so many is cast by brute force.
constexpr std::size_t kSampledTargets = 250;

/// Closed spheres of quads beside and in one another, as bodies, turrets and barrels are.
io::Model3doObject spheres(std::size_t count) {
    constexpr std::size_t kRings = 16, kSides = 16;
    io::Model3doObject root;
    for (std::size_t sphere = 0; sphere < count; ++sphere) {
        auto piece = std::make_unique<io::Model3doObject>();
        piece->name = fmt::format("p{}", sphere);
        piece->position = {static_cast<double>(sphere % 5) * 3, 0,
                           static_cast<double>(sphere / 5) * 3};
        for (std::size_t ring = 0; ring <= kRings; ++ring) {
            for (std::size_t side = 0; side < kSides; ++side) {
                const double tilt = 3.14159265 * static_cast<double>(ring) / kRings;
                const double turn = 6.2831853 * static_cast<double>(side) / kSides;
                piece->vertices.push_back({2 * std::sin(tilt) * std::cos(turn), 2 * std::cos(tilt),
                                           2 * std::sin(tilt) * std::sin(turn)});
            }
        }
        for (std::size_t ring = 0; ring < kRings; ++ring) {
            for (std::size_t side = 0; side < kSides; ++side) {
                const auto at = [&](std::size_t r, std::size_t s) {
                    return static_cast<std::uint16_t>(r * kSides + s % kSides);
                };
                piece->primitives.push_back({{at(ring, side + 1), at(ring, side),
                                              at(ring + 1, side), at(ring + 1, side + 1)},
                                             std::uint8_t{9},
                                             std::nullopt,
                                             {}});
            }
        }
        root.children.push_back(std::move(piece));
    }
    return root;
}

/// The lines of sight of every `step`-th face against every triangle.
std::uint64_t castEverything(const SightScene& scene, const std::vector<Occluder>& triangles,
                             std::size_t step) {
    std::uint64_t rays = 0, reached = 0;
    for (const Vec3d& direction : viewDirections({})) {
        const SightFrame frame(direction);
        std::vector<MetTriangle> met;
        met.reserve(triangles.size());
        for (const Occluder& triangle : triangles) met.emplace_back(triangle, frame);
        for (std::size_t i = 0; i < scene.targets.size(); i += step) {
            const SightScene::Target& target = scene.targets[i];
            if (dot(target.normal, direction) >= 0) continue;
            for (const Vec3d& point : target.points) {
                ++rays;
                const Vec3d seen = frame.of(point);
                bool isHidden = false;
                for (std::size_t t = 0; t < met.size() && !isHidden; ++t)
                    isHidden =
                        triangles[t].face != target.face && met[t].hides(seen, scene.contact);
                reached += !isHidden;
            }
        }
    }
    bench::require(reached == 0, "closed spheres must hide their insides");
    return rays;
}

void measureBleedThrough() {
    const io::Model3doObject model = spheres(20);  // 5,120 faces
    const SightScene scene = makeSightScene(model);
    std::vector<Occluder> triangles;
    for (const auto& [corners, face] : scene.triangles) {
        const Vec3d a = corners[1] - corners[0], b = corners[2] - corners[0];
        triangles.push_back({corners[0], a, b, cross(b, a), face});
    }
    std::uint64_t rays = 0, sampledRays = 0;
    const auto timings = bench::measure(
        {[&] {
             const BleedThrough result = findBleedThrough(model);
             bench::require(result.faces.empty(), "closed spheres must hide their insides");
             rays = result.rayCount;
         },
         [&] { sampledRays = castEverything(scene, triangles, kSampledTargets); },
         [&] { bench::require(findIssues(model, {}).size() == 21, "a piece is missing"); }});
    bench::Timing all = timings[1];
    const double share = static_cast<double>(rays) / static_cast<double>(sampledRays);
    all.best *= share;
    all.median *= share;
    bench::reportTime("look through 5120 faces, 256 directions / every triangle", timings[0], "ms",
                      all);
    bench::reportTime("find the issues of 5120 faces / look through them", timings[2], "ms",
                      timings[0]);
}

/// What the histories of random models take when they have as many steps as they may.
void measureHistories() {
    constexpr std::uint32_t kModels = 500;
    std::size_t steps = 0, models = 0, histories = 0, largest = 0;
    for (std::uint32_t seed = 0; seed < kModels; ++seed) {
        ModelDraw draw(seed);
        io::Model3doObject model = draw.model();
        models += memoryOf(model);
        WorkingModel working(model);
        ModelFix move;
        move.kind = "move-piece";
        move.piece = std::int64_t{0};
        for (std::size_t i = 0; i <= kMaxUndoSteps + 1; ++i) {
            move.position = {1 + static_cast<double>(i), 0, 0};
            working.apply(move, {1, 1});
        }
        steps += working.undoDepth();
        histories += working.memory();
        largest = std::max(largest, working.memory());
    }
    bench::require(steps == kModels * kMaxUndoSteps, "a history is not full");
    bench::report("memory of 500 full histories / of their models",
                  static_cast<double>(histories) / 1024 / 1024, "MB",
                  static_cast<double>(models) / 1024 / 1024);
    bench::require(largest < kMaxHistoryBytes, "a small model fills its history");
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    measureBleedThrough();
    measureHistories();
}
