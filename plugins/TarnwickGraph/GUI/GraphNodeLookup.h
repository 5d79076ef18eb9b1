#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <optional>
#include <vector>

namespace Tarnwick {

/// A copy of one node's info, found in O(log N + degree) without a sweep over the node table (the
/// guided walk stops at its start node); nothing for an unknown id.
inline std::optional<Graph::NodeInfo> readNode(const Graph& graph, unsigned long id) {
    std::optional<Graph::NodeInfo> found;
    graph.traverse(id,
                   [&](unsigned long, const Graph::NodeInfo& info,
                       const std::vector<const Graph::NodeInfo*>&) -> const Graph::NodeInfo* {
                       found = info;
                       return nullptr;
                   });
    return found;
}

} // namespace Tarnwick
