#include <TarnwickGraph/Pipelines/JunctionClusters.h>

#include <TarnwickGraph/Graph/Graph.h>

#include <algorithm>

namespace Tarnwick {

namespace {

std::size_t degreeWithoutLoops(unsigned long id, const Graph::Neighborhood& neighbours) {
    return neighbours.size() - neighbours.count(id);
}

/// Root of `id` in a union-find forest kept in a map, halving the path on the way.
unsigned long findRoot(std::map<unsigned long, unsigned long>& parent, unsigned long id) {
    while (parent.at(id) != id)
        id = parent[id] = parent.at(parent.at(id));
    return id;
}

} // namespace

JunctionClusters::JunctionClusters(const Graph& graph) {
    std::map<unsigned long, unsigned long> parent;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        if (degreeWithoutLoops(id, neighbours) >= 3)
            parent.emplace(id, id);
    });
    for (const auto& [id, unused] : parent)
        for (const auto& [neighbour, edge] : graph.neighborhood(id))
            if (neighbour != id && parent.count(neighbour)) {
                // The smaller root wins, so a cluster's representative is its smallest junction.
                const unsigned long a = findRoot(parent, id), b = findRoot(parent, neighbour);
                parent[std::max(a, b)] = std::min(a, b);
            }
    for (const auto& [id, unused] : parent)
        m_root[id] = findRoot(parent, id);
    // Degree-2 nodes closing a triangle inside one cluster belong to it.
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        if (degreeWithoutLoops(id, neighbours) != 2 || neighbours.count(id))
            return;
        const auto first = m_root.find(neighbours.begin()->first);
        const auto second = m_root.find(std::next(neighbours.begin())->first);
        if (first != m_root.end() && second != m_root.end() && first->second == second->second &&
            parent.count(first->first))
            m_root.emplace(id, first->second);
    });
    for (const auto& [id, root] : m_root)
        m_members[root].push_back(id);
    for (auto& [root, ids] : m_members)
        std::sort(ids.begin(), ids.end());
    // An absorbed node may have a smaller id than every junction: the representative is the smallest member.
    std::map<unsigned long, std::vector<unsigned long>> byRepresentative;
    for (auto& [root, ids] : m_members) {
        for (unsigned long id : ids)
            m_root[id] = ids.front();
        byRepresentative.emplace(ids.front(), std::move(ids));
    }
    m_members = std::move(byRepresentative);
}

unsigned long JunctionClusters::representative(unsigned long id) const {
    const auto found = m_root.find(id);
    return found == m_root.end() ? id : found->second;
}

std::size_t JunctionClusters::absorbedNodeCount() const {
    return m_root.size() - m_members.size();
}

std::size_t JunctionClusters::mergeInto(Graph& graph) {
    const JunctionClusters clusters(graph);
    std::map<unsigned long, Eigen::Vector3d> centres; // representative -> sum, then mean of member positions
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        if (clusters.m_root.count(id))
            centres.try_emplace(clusters.representative(id), Eigen::Vector3d::Zero()).first->second += node.position;
    });
    std::size_t removed = 0;
    for (const auto& [representative, ids] : clusters.members()) {
        if (ids.size() < 2)
            continue;
        const unsigned long merged =
            graph.addNode(Graph::NodeInfo(centres.at(representative) / double(ids.size()), {}));
        for (unsigned long id : ids)
            for (const auto& [neighbour, edge] : graph.neighborhood(id))
                if (edge && neighbour != id && clusters.representative(neighbour) != representative &&
                    !graph.edge(merged, neighbour))
                    graph.addEdge(merged, neighbour, *edge);
        for (unsigned long id : ids)
            graph.removeNode(id);
        removed += ids.size() - 1;
    }
    return removed;
}

} // namespace Tarnwick
