#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "model/terrain_picture.h"
#include "samples/builder/map_text.h"

namespace orb::samples {
namespace {

constexpr int kCellSide = static_cast<int>(io::kTntCellSide);
constexpr int kTileSide = static_cast<int>(io::kTntTileSide);
/// The small picture of a file and what its rest is filled with.
constexpr std::uint32_t kMinimapSide = 252;
constexpr std::uint8_t kMinimapFilling = 0x64;

/// How far above the sea the shore reaches, and how deep water looks deepest.
constexpr double kShoreHeight = 5, kDarkestDepth = 42;
/// The rise per pixel from which on the ground shows its rock.
constexpr double kRockSlope = 0.85;

class GroundPainter {
public:
    GroundPainter(const Landscape& land, const GroundColors& colors,
                  const std::vector<Stain>& stains)
        : land_(land), colors_(colors), stains_(stains) {}

    std::uint8_t pixel(int x, int z) const {
        const double height = heightAt(x, z);
        // rise to the east and to the south, in pixels per pixel
        const double east = (heightAt(x + 3, z) - heightAt(x - 3, z)) / 6;
        const double south = (heightAt(x, z + 3) - heightAt(x, z - 3)) / 6;
        const double light = std::clamp(0.9 * (east + south), -1.0, 1.0);
        const double grain = noiseAt(x, z, 1) - 0.5, patch = patchAt(x, z) - 0.5;
        if (height < land_.seaLevel)
            return water(land_.seaLevel - height, light, grain + 0.6 * patch);
        const double slope = std::sqrt(east * east + south * south);
        const Ramp& ramp = rampAt(x, z, height, slope + 0.25 * patch, grain);
        const bool isRock = ramp.first == colors_.rock.first;
        // land grows paler the higher it lies
        const double base = 0.44 + 0.16 * (height - land_.seaLevel) / 150;
        return step(ramp, base + (isRock ? 0.24 : 0.36) * light + (isRock ? 0.26 : 0.14) * grain +
                              0.2 * patch);
    }

private:
    double heightAt(int x, int z) const {
        const auto clamped = [](double cell, int count) {
            return std::clamp(cell, 0.0, static_cast<double>(count - 1));
        };
        const double cellX = clamped(double(x) / kCellSide, land_.width);
        const double cellZ = clamped(double(z) / kCellSide, land_.depth);
        const int left = static_cast<int>(cellX), top = static_cast<int>(cellZ);
        const int right = std::min(left + 1, land_.width - 1);
        const int bottom = std::min(top + 1, land_.depth - 1);
        const double toRight = cellX - left, down = cellZ - top;
        return (land_.at(left, top) * (1 - toRight) + land_.at(right, top) * toRight) * (1 - down) +
               (land_.at(left, bottom) * (1 - toRight) + land_.at(right, bottom) * toRight) * down;
    }

    /// Noise of patches some cells wide.
    static double patchAt(int x, int z) {
        double sum = 0;
        for (const int size : {24, 60}) {
            const int left = x / size, top = z / size;
            const double east = double(x % size) / size, south = double(z % size) / size;
            const auto row = [&](int line) {
                return noiseAt(left, line, size) * (1 - east) +
                       noiseAt(left + 1, line, size) * east;
            };
            sum += row(top) * (1 - south) + row(top + 1) * south;
        }
        return sum / 2;
    }

    static std::uint8_t step(const Ramp& ramp, double share) {
        const double steps = ramp.last - ramp.first;
        return static_cast<std::uint8_t>(ramp.first +
                                         std::lround(std::clamp(share, 0.0, 1.0) * steps));
    }

    std::uint8_t water(double depth, double light, double grain) const {
        const double dark = std::min(1.0, depth / kDarkestDepth);
        return step(colors_.water, 0.82 - 0.58 * std::sqrt(dark) + 0.08 * light + 0.06 * grain);
    }

    const Ramp& rampAt(int x, int z, double height, double slope, double grain) const {
        const double cellX = double(x) / kCellSide, cellZ = double(z) / kCellSide;
        for (const Stain& stain : stains_) {
            const double dx = cellX - stain.x, dz = cellZ - stain.z;
            const double away = std::sqrt(dx * dx + dz * dz) / stain.radius;
            const double inside = 1.15 - away + 1.6 * (patchAt(x, z) - 0.5);
            if (away < 1.5 && grain + 0.5 < stain.share * std::min(1.0, 2 * inside))
                return stain.ramp;
        }
        if (slope + 0.2 * grain > kRockSlope) return colors_.rock;
        if (height < land_.seaLevel + kShoreHeight * (1 + grain)) return colors_.shore;
        return colors_.land;
    }

    const Landscape& land_;
    const GroundColors& colors_;
    const std::vector<Stain>& stains_;
};

io::Bytes drawTile(const GroundPainter& painter, int column, int row) {
    io::Bytes tile;
    for (int z = 0; z < kTileSide; ++z)
        for (int x = 0; x < kTileSide; ++x)
            tile.push_back(painter.pixel(column * kTileSide + x, row * kTileSide + z));
    return tile;
}

/// The small picture at the top left of one of the usual size.
io::TntMinimap filledMinimap(const unitview::IndexedPicture& picture) {
    io::TntMinimap minimap{kMinimapSide, kMinimapSide, {}};
    minimap.pixels.assign(std::size_t{kMinimapSide} * kMinimapSide, kMinimapFilling);
    for (std::size_t z = 0; z < picture.height; ++z)
        std::copy_n(picture.pixels.begin() + std::ptrdiff_t(z * picture.width), picture.width,
                    minimap.pixels.begin() + std::ptrdiff_t(z * kMinimapSide));
    return minimap;
}

}  // namespace

void drawGround(io::TntFile& map, const Landscape& land, const GroundColors& colors,
                const std::vector<Stain>& stains, const NamedPalette& palette) {
    const GroundPainter painter(land, colors, stains);
    std::unordered_map<std::string, std::uint16_t> indexOf;
    for (int row = 0; row < static_cast<int>(map.tilesDown()); ++row)
        for (int column = 0; column < static_cast<int>(map.tilesAcross()); ++column) {
            const io::Bytes tile = drawTile(painter, column, row);
            const auto [known, isNew] = indexOf.try_emplace(
                std::string(io::asText(tile)), static_cast<std::uint16_t>(indexOf.size()));
            if (isNew) map.tiles.insert(map.tiles.end(), tile.begin(), tile.end());
            map.tileMap.push_back(known->second);
        }
    map.minimap = filledMinimap(unitview::minimapPicture(map, palette.colors));
}

}  // namespace orb::samples
