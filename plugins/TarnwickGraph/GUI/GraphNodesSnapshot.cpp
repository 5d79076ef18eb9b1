#include <TarnwickGraph/GUI/GraphNodesSnapshot.h>

#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <algorithm>

namespace Tarnwick {

GraphNodesSnapshot GraphNodesSnapshot::capture(const Graph& graph, const std::vector<unsigned long>& ids) {
    GraphNodesSnapshot snapshot;
    std::vector<unsigned long> unique = ids;
    std::sort(unique.begin(), unique.end());
    unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
    for (unsigned long id : unique) {
        snapshot.m_nodes.push_back({id, readNode(graph, id)});
        for (const auto& [neighbor, edge] : graph.neighborhood(id)) {
            if (edge)
                snapshot.m_edges.emplace_back(id, neighbor, *edge);
            // Directed: the neighbour's edge into this node is stored at the neighbour.
            if (graph.type() == Graph::Directed && neighbor != id)
                if (const auto& incoming = graph.edge(neighbor, id))
                    snapshot.m_edges.emplace_back(neighbor, id, *incoming);
        }
    }
    return snapshot;
}

void GraphNodesSnapshot::restore(Graph& graph) const {
    for (const Node& node : m_nodes)
        graph.removeNode(node.id);
    for (const Node& node : m_nodes)
        if (node.info)
            graph.addOrReplaceNode(node.id, *node.info);
    for (const auto& [from, to, edge] : m_edges)
        if (graph.hasNode(from) && graph.hasNode(to))
            graph.addEdge(from, to, edge);
}

std::vector<unsigned long> GraphNodesSnapshot::ids() const {
    std::vector<unsigned long> ids;
    for (const Node& node : m_nodes)
        ids.push_back(node.id);
    return ids;
}

} // namespace Tarnwick
