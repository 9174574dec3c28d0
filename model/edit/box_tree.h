#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "model/vectors.h"

namespace orb::unitview {

/// Boxes in a hierarchy of boxes around them, so that a search looks at few of them.
class BoxTree {
public:
    struct Node {
        Box box;
        /// Of a leaf the first of its `count` places in `order`; else the node of the first child,
        /// behind which the second one stands. Children stand behind their parents.
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };

    /// `boxes` must stay where they are.
    explicit BoxTree(std::span<const Box> boxes);

    /// The root comes first; without boxes it is an empty leaf.
    const std::vector<Node>& nodes() const { return nodes_; }
    /// Indices of the boxes, leaf by leaf.
    const std::vector<std::uint32_t>& order() const { return order_; }

    /// Calls with the index of each box that comes within `distance` of this one on every axis.
    /// Adds the boxes that were looked at to `steps`.
    template <typename Use>
    void forMeeting(const Box& box, double distance, std::uint64_t& steps, Use&& use) const {
        std::array<std::uint32_t, kMaxWaiting> waiting;
        std::size_t count = 0;
        waiting[count++] = 0;
        while (count > 0) {
            const Node& node = nodes_[waiting[--count]];
            ++steps;
            if (!node.box.meets(box, distance)) continue;
            for (std::uint32_t i = node.first; i < node.first + node.count; ++i)
                if (boxes_[order_[i]].meets(box, distance)) use(order_[i]);
            if (node.count > 0) continue;
            waiting[count++] = node.first + 1;
            waiting[count++] = node.first;
        }
    }

    /// Nodes that wait at most when one is replaced by both its children again and again.
    static constexpr std::size_t kMaxWaiting = 72;

private:
    void split(std::uint32_t node, std::span<std::uint32_t> items, std::uint32_t first,
               std::size_t depth);
    std::size_t partition(std::span<std::uint32_t> items, const Box& middles,
                          std::size_t depth) const;

    std::span<const Box> boxes_;
    std::vector<Node> nodes_;
    std::vector<std::uint32_t> order_;
};

}  // namespace orb::unitview
