// Iteration and traversal of Graph. The visiting orders are a contract that algorithms and file
// writers rely on: plain sweeps run in ascending id, edge sweeps report each edge once from its
// source (undirected: from the smaller end), and the sweep from a start node marks nodes when they are
// scheduled, not when they are visited.
#include <TarnwickGraph/Graph/Graph.h>

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <unordered_set>

namespace Tarnwick {

namespace {

/// The entry of node `id`, trying the sweep's current and next node before a full lookup: in chains
/// built in order the target of an edge is very often the next node of the table.
template <typename Table, typename Iterator>
auto& entryNear(Table& nodes, Iterator current, unsigned long id) {
    if (current->first == id)
        return current->second;
    auto next = std::next(current);
    if (next != nodes.end() && next->first == id)
        return next->second;
    auto found = nodes.find(id);
    if (found == nodes.end())
        throw std::out_of_range("map::at");
    return found->second;
}

} // namespace

// --- plain node sweeps -----------------------------------------------------------------------------

void Graph::forEachNode(const NodeFn& fn) const {
    for (const auto& [id, entry] : m_nodes)
        fn(id, entry.info);
}

void Graph::forEachNode(const NodeAdjacencyFn& fn) const {
    for (const auto& [id, entry] : m_nodes)
        fn(id, entry.info, entry.neighbors);
}

void Graph::editEachNode(const NodeEditFn& fn) {
    for (auto& [id, entry] : m_nodes) {
        fn(id, entry.info);
        fixNodeInfo(entry.info);
    }
}

void Graph::editEachNode(const NodeAdjacencyEditFn& fn) {
    for (auto& [id, entry] : m_nodes) {
        fn(id, entry.info, entry.neighbors);
        fixNodeInfo(entry.info);
    }
}

// --- edge sweeps -----------------------------------------------------------------------------------

template <typename Self, typename Fn>
void Graph::sweepEdges(Self& self, Fn&& fn) {
    auto& nodes = self.m_nodes;
    const bool undirected = self.m_type == Undirected;
    for (auto it = nodes.begin(); it != nodes.end(); ++it) {
        const unsigned long u = it->first;
        auto& adjacency = it->second.neighbors;
        // Undirected edges are reported from their smaller end only.
        for (auto entry = undirected ? adjacency.lower_bound(u) : adjacency.begin(); entry != adjacency.end();
             ++entry) {
            if (!entry->second)
                continue;
            fn(*entry->second, u, it->second, entry->first, entryNear(nodes, it, entry->first));
        }
    }
}

void Graph::forEachEdge(const EdgeFn& fn) const {
    sweepEdges(*this, [&](const EdgeInfo& edge, unsigned long u, const NodeEntry& source, unsigned long v,
                          const NodeEntry& target) { fn(edge, u, source.info, v, target.info); });
}

void Graph::forEachEdge(const EdgeNodesFn& fn) const {
    sweepEdges(*this, [&](const EdgeInfo& edge, unsigned long, const NodeEntry& source, unsigned long,
                          const NodeEntry& target) { fn(edge, source.info, target.info); });
}

void Graph::forEachEdge(const EdgeIdsFn& fn) const {
    sweepEdges(*this, [&](const EdgeInfo& edge, unsigned long u, const NodeEntry&, unsigned long v, const NodeEntry&) {
        fn(edge, u, v);
    });
}

void Graph::editEachEdge(const EdgeEditFn& fn) {
    sweepEdges(*this, [&](EdgeInfo& edge, unsigned long u, NodeEntry& source, unsigned long v, NodeEntry& target) {
        fn(edge, u, source.info, v, target.info);
        fixEdgeInfo(edge);
        if (m_type == Undirected && u != v)
            target.neighbors[u] = edge;
    });
}

void Graph::editEachEdge(const EdgeNodesEditFn& fn) {
    editEachEdge([&](EdgeInfo& edge, unsigned long, const NodeInfo& source, unsigned long, const NodeInfo& target) {
        fn(edge, source, target);
    });
}

void Graph::editEachEdge(const EdgeIdsEditFn& fn) {
    editEachEdge(
        [&](EdgeInfo& edge, unsigned long u, const NodeInfo&, unsigned long v, const NodeInfo&) { fn(edge, u, v); });
}

// --- sweep from a start node -----------------------------------------------------------------------

void Graph::forEachNode(const NodeReachedFn& fn, unsigned long start, TraversalStrategy strategy) const {
    std::deque<std::pair<unsigned long, const EdgeInfo*>> queue{{start, nullptr}};
    std::unordered_set<unsigned long> scheduled{start};
    while (!queue.empty()) {
        std::pair<unsigned long, const EdgeInfo*> current;
        if (strategy == BreadthFirst) {
            current = queue.front();
            queue.pop_front();
        } else {
            current = queue.back();
            queue.pop_back();
        }
        const NodeEntry& entry = entryAt(current.first);
        fn(current.first, entry.info, current.second);
        for (const auto& [neighbor, edge] : entry.neighbors) {
            if (!edge || !scheduled.insert(neighbor).second)
                continue;
            queue.emplace_back(neighbor, &*edge);
        }
    }
}

void Graph::forEachNode(const NodeFn& fn, unsigned long start, TraversalStrategy strategy) const {
    forEachNode([&](unsigned long id, const NodeInfo& info, const EdgeInfo*) { fn(id, info); }, start, strategy);
}

// --- guided walk -----------------------------------------------------------------------------------

void Graph::traverse(unsigned long start, const ChooseFn& choose) const {
    auto it = m_nodes.find(start);
    if (it == m_nodes.end())
        return;
    // The walk never revisits a node; a hash set keeps long walks linear.
    std::unordered_set<unsigned long> path{start};
    std::vector<const NodeInfo*> candidates;
    std::vector<unsigned long> candidateIds;
    unsigned long current = start;
    const NodeEntry* entry = &it->second;
    while (true) {
        candidates.clear();
        candidateIds.clear();
        for (const auto& [neighbor, edge] : entry->neighbors) {
            if (!edge || path.count(neighbor) != 0)
                continue;
            candidates.push_back(&entryAt(neighbor).info);
            candidateIds.push_back(neighbor);
        }
        const NodeInfo* chosen = choose(current, entry->info, candidates, candidateIds);
        if (chosen == nullptr)
            return;
        auto match = std::find(candidates.begin(), candidates.end(), chosen);
        if (match == candidates.end())
            return;
        current = candidateIds[static_cast<std::size_t>(match - candidates.begin())];
        path.insert(current);
        entry = &entryAt(current);
    }
}

void Graph::traverse(unsigned long start, const ChooseNodeFn& choose) const {
    traverse(start, [&](unsigned long id, const NodeInfo& info, const std::vector<const NodeInfo*>& candidates,
                        const std::vector<unsigned long>&) { return choose(id, info, candidates); });
}

void Graph::traverse(unsigned long start, const ChooseCandidateFn& choose) const {
    traverse(start, [&](unsigned long, const NodeInfo&, const std::vector<const NodeInfo*>& candidates,
                        const std::vector<unsigned long>&) { return choose(candidates); });
}

} // namespace Tarnwick
