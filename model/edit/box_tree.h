#pragma once

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

    explicit BoxTree(std::span<const Box> boxes);

    /// The root comes first; without boxes it is an empty leaf.
    const std::vector<Node>& nodes() const { return nodes_; }
    /// Indices of the boxes, leaf by leaf.
    const std::vector<std::uint32_t>& order() const { return order_; }

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
