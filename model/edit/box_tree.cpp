#include "model/edit/box_tree.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace orb::unitview {
namespace {

constexpr std::size_t kLeafBoxes = 2;
constexpr std::size_t kBins = 16;
/// Deeper down boxes are halved by number, which takes at most 32 levels more.
constexpr std::size_t kMaxBinnedDepth = 32;
static_assert(BoxTree::kMaxWaiting > kMaxBinnedDepth + 32 + 1);

Vec3d middleOf(const Box& box) {
    return (box.least + box.greatest) * 0.5;
}

/// How likely a line meets the box, but for a factor: half its surface.
double surfaceOf(const Box& box) {
    if (box.isEmpty()) return 0;
    const Vec3d size = box.greatest - box.least;
    return size[0] * size[1] + size[1] * size[2] + size[2] * size[0];
}

/// Slices of equal width along one axis.
struct Bins {
    std::size_t axis = 0;
    double from = 0;
    double perUnit = 0;

    Bins(const Box& middles, std::size_t along)
        : axis(along),
          from(middles.least[along]),
          perUnit(kBins / (middles.greatest[along] - middles.least[along])) {}

    std::size_t binOf(const Box& box) const {
        const double place = (middleOf(box)[axis] - from) * perUnit;
        return std::min(static_cast<std::size_t>(std::max(place, 0.0)), kBins - 1);
    }
};

/// A way to split: what lies in the bins before `bin` and what lies in the others.
struct Split {
    double cost = HUGE_VAL;
    std::size_t axis = 0;
    std::size_t bin = 0;
};

struct BinContent {
    Box box;
    double count = 0;
};

Split bestSplit(const std::array<BinContent, kBins>& content, std::size_t axis) {
    std::array<double, kBins> costBehind{};
    BinContent behind;
    for (std::size_t bin = kBins - 1; bin > 0; --bin) {
        behind.box.include(content[bin].box);
        behind.count += content[bin].count;
        costBehind[bin] = surfaceOf(behind.box) * behind.count;
    }
    Split best;
    BinContent before;
    for (std::size_t bin = 1; bin < kBins; ++bin) {
        before.box.include(content[bin - 1].box);
        before.count += content[bin - 1].count;
        const double cost = surfaceOf(before.box) * before.count + costBehind[bin];
        if (cost < best.cost) best = {cost, axis, bin};
    }
    return best;
}

}  // namespace

BoxTree::BoxTree(std::span<const Box> boxes) : boxes_(boxes), order_(boxes.size()) {
    std::iota(order_.begin(), order_.end(), 0U);
    nodes_.reserve(boxes.size() + 1);
    nodes_.emplace_back();
    split(0, order_, 0, 0);
}

void BoxTree::split(std::uint32_t node, std::span<std::uint32_t> items, std::uint32_t first,
                    std::size_t depth) {
    Box box, middles;
    for (const std::uint32_t item : items) {
        box.include(boxes_[item]);
        middles.include(middleOf(boxes_[item]));
    }
    nodes_[node].box = box;
    if (items.size() <= kLeafBoxes) {
        nodes_[node].first = first;
        nodes_[node].count = static_cast<std::uint32_t>(items.size());
        return;
    }
    const std::size_t half = partition(items, middles, depth);
    const auto children = static_cast<std::uint32_t>(nodes_.size());
    nodes_[node].first = children;
    nodes_.resize(nodes_.size() + 2);
    split(children, items.first(half), first, depth + 1);
    split(children + 1, items.subspan(half), first + static_cast<std::uint32_t>(half), depth + 1);
}

// Where the surfaces of the halves, times what is in them, are the least.
std::size_t BoxTree::partition(std::span<std::uint32_t> items, const Box& middles,
                               std::size_t depth) const {
    Split best;
    for (std::size_t axis = 0; axis < 3 && depth < kMaxBinnedDepth; ++axis) {
        const Bins bins(middles, axis);
        if (!std::isfinite(bins.perUnit)) continue;
        std::array<BinContent, kBins> content;
        for (const std::uint32_t item : items) {
            BinContent& bin = content[bins.binOf(boxes_[item])];
            bin.box.include(boxes_[item]);
            ++bin.count;
        }
        const Split split = bestSplit(content, axis);
        if (split.cost < best.cost) best = split;
    }
    if (best.cost < HUGE_VAL) {
        const Bins bins(middles, best.axis);
        const auto isFirst = [&](std::uint32_t item) {
            return bins.binOf(boxes_[item]) < best.bin;
        };
        const auto rest = std::partition(items.begin(), items.end(), isFirst);
        if (rest != items.begin() && rest != items.end())
            return static_cast<std::size_t>(rest - items.begin());
    }
    const Vec3d extent = middles.greatest - middles.least;
    const auto axis = static_cast<std::size_t>(std::ranges::max_element(extent) - extent.begin());
    const std::size_t half = items.size() / 2;
    std::ranges::nth_element(items, items.begin() + static_cast<std::ptrdiff_t>(half), {},
                             [&](std::uint32_t item) { return middleOf(boxes_[item])[axis]; });
    return half;
}

}  // namespace orb::unitview
