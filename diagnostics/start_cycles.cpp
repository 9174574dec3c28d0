#include "diagnostics/start_cycles.h"

#include <algorithm>

namespace orb::unitview {
namespace {

// A script reaches itself when it starts itself or shares a strongly connected component with
// another one. Searching from every script anew would say the same in quadratic time, which a
// script file made for it could stretch to hours. Two depth-first passes find the components: the
// first orders the scripts by when their search ends, the second follows the edges backwards from
// the last of them.

/// A script whose search is under way.
struct Visit {
    std::uint32_t script;
    std::size_t nextEdge = 0;
};

/// Visits all unseen scripts that `root` reaches along `edges`, calling `leave` for each when its
/// edges are done.
template <typename Edges, typename Leave>
void search(std::uint32_t root, std::vector<bool>& seen, const Edges& edges, const Leave& leave) {
    std::vector<Visit> path = {{root}};
    seen[root] = true;
    while (!path.empty()) {
        Visit& top = path.back();
        const std::vector<std::uint32_t>& targets = edges(top.script);
        if (top.nextEdge == targets.size()) {
            leave(top.script);
            path.pop_back();
            continue;
        }
        const std::uint32_t target = targets[top.nextEdge++];
        if (seen[target]) continue;
        seen[target] = true;
        path.push_back({target});
    }
}

std::vector<std::uint32_t> byEndOfSearch(const std::vector<ScriptSummary>& scripts) {
    std::vector<bool> seen(scripts.size());
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < scripts.size(); ++i)
        if (!seen[i])
            search(
                i,
                seen, [&](std::uint32_t script) -> const auto& { return scripts[script].starts; },
                [&](std::uint32_t script) { order.push_back(script); });
    return order;
}

}  // namespace

std::vector<bool> findStartCycles(const std::vector<ScriptSummary>& scripts) {
    std::vector<bool> inCycle(scripts.size());
    for (std::uint32_t i = 0; i < scripts.size(); ++i)
        inCycle[i] = std::ranges::find(scripts[i].starts, i) != scripts[i].starts.end();

    std::vector<std::uint32_t> order = byEndOfSearch(scripts);
    std::vector<bool> seen(scripts.size());
    std::vector<std::uint32_t> component;
    for (auto root = order.rbegin(); root != order.rend(); ++root) {
        if (seen[*root]) continue;
        component.clear();
        search(
            *root,
            seen, [&](std::uint32_t script) -> const auto& { return scripts[script].startedBy; },
            [&](std::uint32_t script) { component.push_back(script); });
        if (component.size() > 1)
            for (const std::uint32_t script : component) inCycle[script] = true;
    }
    return inCycle;
}

}  // namespace orb::unitview
