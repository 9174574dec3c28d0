#include <algorithm>
#include <cmath>
#include <limits>

#include "samples/builder/canvas.h"

namespace orb::samples {
namespace {

using io::Vec3;

struct DrawnFace {
    /// On the picture plane: x right, y up, z towards the viewer.
    std::vector<Vec3> corners{};
    std::uint8_t color = 0;
};

constexpr float kAzimuth = 0.6F;  // radians, from the front towards the unit's left
constexpr float kTilt = 0.55F;    // radians above the horizon
constexpr float kMargin = 0.08F;  // of the picture, on every side
constexpr int kShades = 4;        // steps up and down the ramp

Vec3 view(const Vec3& p) {
    const float x = p[0] * std::cos(kAzimuth) - p[2] * std::sin(kAzimuth);
    const float z = p[0] * std::sin(kAzimuth) + p[2] * std::cos(kAzimuth);
    return {x, p[1] * std::cos(kTilt) - z * std::sin(kTilt),
            p[1] * std::sin(kTilt) + z * std::cos(kTilt)};
}

Vec3 normal(const DrawnFace& face) {
    Vec3 n{};
    for (std::size_t i = 0; i < face.corners.size(); ++i) {
        const Vec3 &a = face.corners[i], &b = face.corners[(i + 1) % face.corners.size()];
        for (std::size_t k = 0; k < 3; ++k)
            n[k] += a[(k + 2) % 3] * b[(k + 1) % 3] - a[(k + 1) % 3] * b[(k + 2) % 3];
    }
    const float length = std::hypot(n[0], n[1], n[2]);
    if (length > 0)
        for (float& k : n) k /= length;
    return n;
}

void collect(const io::Model3doObject& piece, Vec3 origin, std::vector<DrawnFace>& faces) {
    for (std::size_t k = 0; k < 3; ++k) origin[k] += static_cast<float>(piece.position[k]);
    for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
        const auto& primitive = piece.primitives[i];
        if (piece.selectionPrimitive && static_cast<std::size_t>(*piece.selectionPrimitive) == i)
            continue;
        DrawnFace face{.color = primitive.color.value_or(0)};
        for (const std::size_t index : primitive.vertexIndices) {
            Vec3 corner = origin;
            for (std::size_t k = 0; k < 3; ++k)
                corner[k] += static_cast<float>(piece.vertices[index][k]);
            face.corners.push_back(view(corner));
        }
        if (face.corners.size() >= 3 && normal(face)[2] > 0) faces.push_back(std::move(face));
    }
    for (const auto& child : piece.children) collect(*child, origin, faces);
}

std::uint8_t shade(const DrawnFace& face, const NamedPalette& palette) {
    const Vec3 n = normal(face);
    const float light = 0.35F * n[0] + 0.8F * n[1] + 0.45F * n[2] - 0.4F;
    const Ramp ramp = palette.rampOf(face.color);
    const int step = static_cast<int>(std::lround(light * 2 * kShades));
    return static_cast<std::uint8_t>(
        std::clamp<int>(face.color + std::clamp(step, -kShades, kShades), ramp.first, ramp.last));
}

/// Twice the signed area of the triangle a, b, p.
float edge(const Vec3& a, const Vec3& b, float x, float y) {
    return (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
}

void drawTriangle(Canvas& canvas, std::vector<float>& depth, const Vec3& a, const Vec3& b,
                  const Vec3& c, std::uint8_t color) {
    const float area = edge(a, b, c[0], c[1]);
    if (area == 0) return;
    const auto [minX, maxX] = std::minmax({a[0], b[0], c[0]});
    const auto [minY, maxY] = std::minmax({a[1], b[1], c[1]});
    for (int y = static_cast<int>(minY); y <= static_cast<int>(maxY); ++y) {
        for (int x = static_cast<int>(minX); x <= static_cast<int>(maxX); ++x) {
            if (!canvas.contains(x, y)) continue;
            const float px = static_cast<float>(x) + 0.5F, py = static_cast<float>(y) + 0.5F;
            const float u = edge(b, c, px, py) / area, v = edge(c, a, px, py) / area;
            if (u < 0 || v < 0 || u + v > 1) continue;
            const float z = u * a[2] + v * b[2] + (1 - u - v) * c[2];
            float& nearest = depth[static_cast<std::size_t>(&canvas.at(x, y) - &canvas.at(0, 0))];
            if (z <= nearest) continue;
            nearest = z;
            canvas.at(x, y) = color;
        }
    }
}

}  // namespace

void drawModel(Canvas& canvas, const io::Model3doObject& model, const NamedPalette& palette) {
    std::vector<DrawnFace> faces;
    collect(model, {}, faces);
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    float low[2] = {kInfinity, kInfinity}, high[2] = {-kInfinity, -kInfinity};
    for (const DrawnFace& face : faces)
        for (const Vec3& corner : face.corners)
            for (std::size_t k = 0; k < 2; ++k) {
                low[k] = std::min(low[k], corner[k]);
                high[k] = std::max(high[k], corner[k]);
            }
    if (faces.empty()) return;

    const float size[2] = {static_cast<float>(canvas.width), static_cast<float>(canvas.height)};
    const float scale =
        (1 - 2 * kMargin) * std::min(size[0] / (high[0] - low[0]), size[1] / (high[1] - low[1]));
    const auto toPixel = [&](const Vec3& p) {
        return Vec3{size[0] / 2 + (p[0] - (low[0] + high[0]) / 2) * scale,
                    size[1] / 2 - (p[1] - (low[1] + high[1]) / 2) * scale, p[2]};
    };
    std::vector<float> depth(canvas.pixels.size(), -kInfinity);
    for (const DrawnFace& face : faces) {
        const std::uint8_t color = shade(face, palette);
        for (std::size_t i = 2; i < face.corners.size(); ++i)
            drawTriangle(canvas, depth, toPixel(face.corners[0]), toPixel(face.corners[i - 1]),
                         toPixel(face.corners[i]), color);
    }
}

}  // namespace orb::samples
