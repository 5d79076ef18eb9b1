// Graph partitioning into connected components: breadth-first searches over the adjacency maps (weakly
// connected components for directed graphs), then one sweep over the nodes and one over their adjacencies
// to copy each kept component into its own graph. O((N + E) log N) time, O(N) extra memory.
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace Tarnwick {

namespace {

/// A new graph of the same kind, placement and feature columns as `source`, without nodes.
std::unique_ptr<Graph> emptyLike(const Graph& source) {
    auto part = std::make_unique<Graph>(source.type(), source.dimension());
    part->clearFeatureDescriptors();
    part->addNodeFeatureDescriptors(source.nodeFeatureDescriptors());
    part->addEdgeFeatureDescriptors(source.edgeFeatureDescriptors());
    part->setMatrixToWorld(source.matrixToWorld());
    return part;
}

} // namespace

PartitionGraphsAlgorithm::PartitionGraphsAlgorithm(const Graph& graph) : m_graph(graph) {}

bool PartitionGraphsAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    if (data.size() != 1)
        return false;
    const auto* graph = dynamic_cast<const Graph*>(data[0]);
    if (!graph)
        return false;
    if (out)
        *out = new PartitionGraphsAlgorithm(*graph);
    return true;
}

PartitionGraphsAlgorithm::ComponentMap PartitionGraphsAlgorithm::computeConnectedComponents(const Graph& graph) {
    if (graph.type() == Graph::Directed)
        TW_LOG_WARN("Directed Graph. Computing weakly connected components.");
    ComponentMap components;
    std::unordered_map<unsigned long, int> componentOf;
    componentOf.reserve(graph.numNodes());
    std::deque<unsigned long> queue;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) {
        if (componentOf.count(id) != 0)
            return;
        const int number = static_cast<int>(components.size());
        std::vector<unsigned long>& members = components[number];
        componentOf.emplace(id, number);
        queue.push_back(id);
        while (!queue.empty()) {
            const unsigned long current = queue.front();
            queue.pop_front();
            members.push_back(current);
            for (const auto& [neighbor, edge] : graph.neighborhood(current))
                if (componentOf.emplace(neighbor, number).second)
                    queue.push_back(neighbor);
        }
        std::sort(members.begin(), members.end());
    });
    return components;
}

std::vector<std::unique_ptr<Graph>> PartitionGraphsAlgorithm::partition(const Graph& graph,
                                                                        const ComponentMap& components) {
    std::vector<std::unique_ptr<Graph>> parts;
    std::unordered_map<unsigned long, Graph*> partOf;
    for (const auto& [number, members] : components) {
        parts.push_back(emptyLike(graph));
        for (unsigned long id : members)
            partOf.emplace(id, parts.back().get());
    }
    // Nodes arrive in ascending id, so each part receives its nodes in ascending old id.
    std::unordered_map<unsigned long, unsigned long> newId;
    newId.reserve(partOf.size());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        auto part = partOf.find(id);
        if (part != partOf.end())
            newId.emplace(id, part->second->addNode(node));
    });
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        auto part = partOf.find(id);
        if (part == partOf.end())
            return;
        for (const auto& [neighbor, edge] : adjacency) {
            // An undirected edge is stored at both ends: add it from its smaller end only. Edges leaving the
            // component (only possible with a hand-made component map) are dropped.
            if (!edge || (graph.type() == Graph::Undirected && neighbor < id))
                continue;
            auto neighborPart = partOf.find(neighbor);
            if (neighborPart != partOf.end() && neighborPart->second == part->second)
                part->second->addEdge(newId.at(id), newId.at(neighbor), *edge);
        }
    });
    return parts;
}

void PartitionGraphsAlgorithm::compute() {
    ComponentMap components = computeConnectedComponents(m_graph);
    for (auto it = components.begin(); it != components.end();) {
        if (static_cast<long long>(it->second.size()) < minComponentSize.value())
            it = components.erase(it);
        else
            ++it;
    }
    std::vector<std::unique_ptr<Graph>> parts = partition(m_graph, components);
    std::stable_sort(parts.begin(), parts.end(),
                     [](const auto& a, const auto& b) { return a->numNodes() > b->numNodes(); });
    m_output.clear();
    for (auto& part : parts)
        m_output.add(std::move(part));
    setStatus(Success);
}

} // namespace Tarnwick
