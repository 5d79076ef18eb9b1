// Graph partitioning into connected components. One sweep copies the adjacency into arrays over the
// sequential node index (ascending ids numbered 0 .. N-1), on which breadth-first searches label the
// components (weakly connected ones for directed graphs); one sweep over the nodes and one over their
// adjacencies then copy each kept component into its own graph, finding ids by binary search in sorted
// arrays instead of hashing. O((N + E) log N) time, O(N + E) extra memory.
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <algorithm>

namespace Tarnwick {

namespace {

/// A new graph of the same kind, placement and feature columns as `source`, without nodes.
std::unique_ptr<Graph> emptyLike(const Graph& source) {
    auto part = std::make_unique<Graph>(source.type(), source.dimension());
    GraphUtils::copyFeatureDescriptors(source, *part);
    part->setMatrixToWorld(source.matrixToWorld());
    return part;
}

/// Position of `id` in the ascending array `sorted`, or sorted.size() when it is not there.
std::size_t rankOf(const std::vector<unsigned long>& sorted, unsigned long id) {
    const auto it = std::lower_bound(sorted.begin(), sorted.end(), id);
    return it != sorted.end() && *it == id ? static_cast<std::size_t>(it - sorted.begin()) : sorted.size();
}

/// Every adjacency key of node i (engaged or not) as sequential indices: neighbors[offsets[i] ..
/// offsets[i + 1]).
struct SequentialAdjacency {
    std::vector<unsigned long> ids; ///< ascending
    std::vector<std::size_t> offsets;
    std::vector<std::size_t> neighbors;

    explicit SequentialAdjacency(const Graph& graph) {
        ids.reserve(graph.numNodes());
        offsets.reserve(graph.numNodes() + 1);
        offsets.push_back(0);
        std::vector<unsigned long> neighborIds;
        graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
            ids.push_back(id);
            for (const auto& entry : adjacency)
                neighborIds.push_back(entry.first);
            offsets.push_back(neighborIds.size());
        });
        neighbors.reserve(neighborIds.size());
        for (unsigned long id : neighborIds)
            neighbors.push_back(rankOf(ids, id));
    }
};

/// Where a node goes: its part and its position among that part's (ascending) members.
struct Placement {
    unsigned long id;
    std::size_t part;
    std::size_t rank;
};

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
    const SequentialAdjacency adjacency(graph);
    const std::size_t n = adjacency.ids.size();
    constexpr int unassigned = -1;
    std::vector<int> componentOf(n, unassigned);
    std::vector<std::size_t> queue;
    ComponentMap components;
    for (std::size_t start = 0; start < n; ++start) {
        if (componentOf[start] != unassigned)
            continue;
        const int number = static_cast<int>(components.size());
        componentOf[start] = number;
        queue.assign(1, start);
        for (std::size_t head = 0; head < queue.size(); ++head) {
            const std::size_t current = queue[head];
            for (std::size_t k = adjacency.offsets[current]; k < adjacency.offsets[current + 1]; ++k) {
                const std::size_t neighbor = adjacency.neighbors[k];
                if (neighbor < n && componentOf[neighbor] == unassigned) {
                    componentOf[neighbor] = number;
                    queue.push_back(neighbor);
                }
            }
        }
        std::sort(queue.begin(), queue.end());
        std::vector<unsigned long>& members = components[number];
        members.reserve(queue.size());
        for (std::size_t index : queue)
            members.push_back(adjacency.ids[index]);
    }
    return components;
}

std::vector<std::unique_ptr<Graph>> PartitionGraphsAlgorithm::partition(const Graph& graph,
                                                                        const ComponentMap& components) {
    std::vector<std::unique_ptr<Graph>> parts;
    std::vector<const std::vector<unsigned long>*> members;
    std::vector<Placement> placements;
    for (const auto& [number, ids] : components) {
        parts.push_back(emptyLike(graph));
        members.push_back(&ids);
        for (std::size_t rank = 0; rank < ids.size(); ++rank)
            placements.push_back({ids[rank], parts.size() - 1, rank});
    }
    // Ascending ids, each placed once (in its first component when a hand-made map lists it twice).
    std::stable_sort(placements.begin(), placements.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    placements.erase(
        std::unique(placements.begin(), placements.end(), [](const auto& a, const auto& b) { return a.id == b.id; }),
        placements.end());

    // Nodes arrive in ascending id, so a cursor through the placements finds each node's part, and each
    // part receives its nodes in ascending old id.
    std::vector<std::vector<unsigned long>> newIds(parts.size());
    for (std::size_t p = 0; p < parts.size(); ++p)
        newIds[p].resize(members[p]->size(), 0);
    auto cursor = placements.begin();
    auto placementOf = [&](unsigned long id) -> const Placement* {
        while (cursor != placements.end() && cursor->id < id)
            ++cursor;
        return cursor != placements.end() && cursor->id == id ? &*cursor : nullptr;
    };
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        if (const Placement* placement = placementOf(id))
            newIds[placement->part][placement->rank] = parts[placement->part]->addNode(node);
    });
    cursor = placements.begin();
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        const Placement* placement = placementOf(id);
        if (!placement)
            return;
        const std::vector<unsigned long>& ids = *members[placement->part];
        const std::vector<unsigned long>& mapped = newIds[placement->part];
        for (const auto& [neighbor, edge] : adjacency) {
            // An undirected edge is stored at both ends: add it from its smaller end only. Edges leaving the
            // part (only possible with a hand-made component map) are dropped.
            if (!edge || (graph.type() == Graph::Undirected && neighbor < id))
                continue;
            const std::size_t rank = rankOf(ids, neighbor);
            if (rank < ids.size() && mapped[rank] != 0)
                parts[placement->part]->addEdge(mapped[placement->rank], mapped[rank], *edge);
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
