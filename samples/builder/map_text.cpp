#include "samples/builder/map_text.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include <fmt/format.h>

namespace orb::samples {
namespace {

constexpr int kLeastSide = 2, kMostSide = 512;
constexpr double kHighest = 255;

/// 1 at the middle, 0 from the edge on, without corners.
double bump(double distance, double radius) {
    if (distance >= radius) return 0;
    const double part = 1 - distance / radius;
    return part * part * (3 - 2 * part);
}

struct Point {
    double x = 0, z = 0;
};

double distance(Point a, Point b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.z - b.z) * (a.z - b.z));
}

/// How far along a line the point nearest to `p` lies, from 0 to 1.
double shareAlong(Point from, Point to, Point p) {
    const double dx = to.x - from.x, dz = to.z - from.z;
    const double length = dx * dx + dz * dz;
    if (length == 0) return 0;
    return std::clamp(((p.x - from.x) * dx + (p.z - from.z) * dz) / length, 0.0, 1.0);
}

Point between(Point from, Point to, double share) {
    return {from.x + (to.x - from.x) * share, from.z + (to.z - from.z) * share};
}

/// Noise without jumps: drawn at every `size`-th place and mixed between.
double smoothNoise(Point p, double size, int seed) {
    const double x = p.x / size, z = p.z / size;
    const int left = static_cast<int>(std::floor(x)), top = static_cast<int>(std::floor(z));
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double east = ease(x - left), south = ease(z - top);
    const auto row = [&](int line) {
        return noiseAt(left, line, seed) * (1 - east) + noiseAt(left + 1, line, seed) * east;
    };
    return row(top) * (1 - south) + row(top + 1) * south;
}

/// Carries out the lines of one map.
class MapMaker {
public:
    MapMaker(SourceText& source, const NamedPalette& palette)
        : source_(source), palette_(palette) {}

    io::TntFile make() {
        begin();
        while (source_.next()) carryOut();
        return finish();
    }

private:
    void begin();
    void carryOut();
    io::TntFile finish();

    double number(std::size_t word, std::string_view what) const {
        return static_cast<double>(source_.number(word, what));
    }
    Point point(std::size_t word) const { return {number(word, "x"), number(word + 1, "z")}; }
    Ramp ramp(std::size_t word) const {
        return palette_.rampOf(palette_.index(source_, source_.word(word, "a ramp of colours")));
    }
    /// Sets every height to shape(place, old height).
    void shape(const std::function<double(Point, double)>& shape);

    void hill();
    void ridge();
    void plateau();
    void pass();
    void rough();
    void feature();
    void scatter();
    bool isRoomAround(int x, int z) const;
    void place(const std::string& name, int x, int z);

    SourceText& source_;
    const NamedPalette& palette_;
    Landscape land_;
    GroundColors colors_;
    std::vector<Stain> stains_;
    std::vector<std::string> featureNames_;
    std::vector<std::uint16_t> features_;
    int seed_ = 0;
};

void MapMaker::begin() {
    if (!source_.next() || source_.words()[0] != "map") source_.fail("expected 'map'");
    land_.width = source_.integer(1, "the width in cells");
    land_.depth = source_.integer(2, "the depth in cells");
    for (const int side : {land_.width, land_.depth})
        if (side < kLeastSide || side > kMostSide)
            source_.fail(fmt::format("a map has {} to {} cells a side", kLeastSide, kMostSide));
    const auto count =
        static_cast<std::size_t>(land_.width) * static_cast<std::size_t>(land_.depth);
    land_.heights.assign(count, 0);
    features_.assign(count, io::kTntNoFeature);
}

void MapMaker::carryOut() {
    using Line = std::function<void(MapMaker&)>;
    static const std::map<std::string_view, Line> kLines = {
        {"sea", [](MapMaker& m) { m.land_.seaLevel = m.number(1, "a height"); }},
        {"level",
         [](MapMaker& m) { m.shape([h = m.number(1, "a height")](Point, double) { return h; }); }},
        {"colors",
         [](MapMaker& m) {
             m.colors_ = {m.ramp(1), m.ramp(2), m.ramp(3), m.ramp(4)};
         }},
        {"stain",
         [](MapMaker& m) {
             const auto [x, z] = m.point(1);
             m.stains_.push_back(
                 {x, z, m.number(3, "the radius"), m.ramp(4), m.number(5, "a share from 0 to 1")});
         }},
        {"hill", &MapMaker::hill},
        {"ridge", &MapMaker::ridge},
        {"plateau", &MapMaker::plateau},
        {"pass", &MapMaker::pass},
        {"rough", &MapMaker::rough},
        {"feature", &MapMaker::feature},
        {"scatter", &MapMaker::scatter}};
    const auto line = kLines.find(source_.words()[0]);
    if (line == kLines.end()) source_.fail(fmt::format("unknown line '{}'", source_.words()[0]));
    line->second(*this);
}

void MapMaker::shape(const std::function<double(Point, double)>& shape) {
    for (int z = 0; z < land_.depth; ++z)
        for (int x = 0; x < land_.width; ++x) {
            double& height = land_.heights[static_cast<std::size_t>(z * land_.width + x)];
            height = shape({double(x), double(z)}, height);
        }
}

void MapMaker::hill() {
    shape([middle = point(1), radius = number(3, "the radius"), height = number(4, "a height")](
              Point p, double old) { return old + height * bump(distance(p, middle), radius); });
}

void MapMaker::ridge() {
    shape([from = point(1), to = point(3), radius = number(5, "the radius"),
           height = number(6, "a height")](Point p, double old) {
        return old + height * bump(distance(p, between(from, to, shareAlong(from, to, p))), radius);
    });
}

/// Level ground round a middle; its edge rises within so many cells, its outline is uneven.
void MapMaker::plateau() {
    const int seed = ++seed_;
    shape([middle = point(1), radiusX = number(3, "the radius along x"),
           radiusZ = number(4, "the radius along z"), height = number(5, "a height"),
           edge = number(6, "the width of the edge"), seed](Point p, double old) {
        const Point scaled{(p.x - middle.x) / radiusX, (p.z - middle.z) / radiusZ};
        const double radius = std::min(radiusX, radiusZ);
        const double inside = radius * (1 - distance(scaled, {}) + 0.24 * smoothNoise(p, 7, seed));
        const double share = std::clamp(inside / edge, 0.0, 1.0);
        return old + (std::max(height, old) - old) * share;
    });
}

/// Evens the ground along a line, from the height that one end has to that of the other.
void MapMaker::pass() {
    const Point from = point(1), to = point(3);
    const auto heightAt = [&](Point p) {
        const int x = std::clamp(static_cast<int>(p.x), 0, land_.width - 1);
        const int z = std::clamp(static_cast<int>(p.z), 0, land_.depth - 1);
        return land_.at(x, z);
    };
    shape([from, to, first = heightAt(from), last = heightAt(to), radius = number(5, "the radius")](
              Point p, double old) {
        const double share = shareAlong(from, to, p);
        const double away = distance(p, between(from, to, share));
        const double weight = std::min(1.0, 2 * bump(away, radius));
        return old + (first + (last - first) * share - old) * weight;
    });
}

void MapMaker::rough() {
    const int seed = ++seed_;
    shape([amount = number(1, "a height"), size = number(2, "a size in cells"), seed](
              Point p, double old) { return old + amount * (smoothNoise(p, size, seed) - 0.5); });
}

void MapMaker::place(const std::string& name, int x, int z) {
    if (x < 0 || z < 0 || x >= land_.width || z >= land_.depth)
        source_.fail(fmt::format("{} {} lies outside the map", x, z));
    auto found = std::ranges::find(featureNames_, name);
    if (found == featureNames_.end()) found = featureNames_.insert(found, name);
    features_[static_cast<std::size_t>(z * land_.width + x)] =
        static_cast<std::uint16_t>(found - featureNames_.begin());
}

void MapMaker::feature() {
    const std::string& name = source_.word(1, "a feature");
    if (source_.words().size() % 2 != 0) source_.fail("expected pairs of x and z");
    for (std::size_t word = 2; word < source_.words().size(); word += 2)
        place(name, source_.integer(word, "x"), source_.integer(word + 1, "z"));
}

/// No feature begins less than two cells away.
bool MapMaker::isRoomAround(int x, int z) const {
    for (int row = std::max(0, z - 1); row <= std::min(land_.depth - 1, z + 1); ++row)
        for (int column = std::max(0, x - 1); column <= std::min(land_.width - 1, x + 1); ++column)
            if (features_[static_cast<std::size_t>(row * land_.width + column)] !=
                io::kTntNoFeature)
                return false;
    return true;
}

/// Features here and there in a circle, on dry ground that is not steep.
void MapMaker::scatter() {
    const std::string& name = source_.word(1, "a feature");
    const int count = source_.integer(2, "how many");
    const Point middle = point(3);
    const double radius = number(5, "the radius");
    const int seed = ++seed_;
    for (int i = 0; i < count; ++i) {
        const double turn = noiseAt(i, 0, seed) * 6.283185307179586;
        const double away = radius * std::sqrt(noiseAt(i, 1, seed));
        const int x = static_cast<int>(middle.x + away * std::cos(turn));
        const int z = static_cast<int>(middle.z + away * std::sin(turn));
        if (x < 0 || z < 0 || x + 1 >= land_.width || z + 1 >= land_.depth) continue;
        const double here = land_.at(x, z);
        if (here <= land_.seaLevel + 2 || std::abs(here - land_.at(x + 1, z + 1)) > 12) continue;
        if (isRoomAround(x, z)) place(name, x, z);
    }
}

io::TntFile MapMaker::finish() {
    io::TntFile map;
    map.size = {static_cast<std::uint32_t>(land_.width), static_cast<std::uint32_t>(land_.depth)};
    map.seaLevel = static_cast<std::uint8_t>(land_.seaLevel);
    map.featureNames = featureNames_;
    for (std::size_t i = 0; i < features_.size(); ++i) {
        double& height = land_.heights[i];
        height = std::clamp(std::round(height), 0.0, kHighest);
        map.cells.push_back({static_cast<std::uint8_t>(height), 0, features_[i]});
    }
    drawGround(map, land_, colors_, stains_, palette_);
    return map;
}

}  // namespace

double noiseAt(int x, int z, int seed) {
    auto mixed = static_cast<std::uint32_t>(x) * 0x9E3779B1U ^
                 static_cast<std::uint32_t>(z) * 0x85EBCA77U ^
                 static_cast<std::uint32_t>(seed) * 0xC2B2AE3DU;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6DU;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39U;
    return static_cast<double>((mixed ^ mixed >> 15) >> 8) / 16'777'216.0;
}

io::TntFile parseMapText(SourceText& source, const NamedPalette& palette) {
    return MapMaker(source, palette).make();
}

}  // namespace orb::samples
