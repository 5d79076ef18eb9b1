// Shortest paths of GraphUtils: thin wrappers that validate their input, run ShortestPathSearch
// (Dijkstra, binary heap with lazy deletion, O((N + E) log N)) and turn its state into paths or trees.
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/ShortestPathSearch.h>

#include <algorithm>
#include <cmath>

namespace Tarnwick::GraphUtils {

namespace {

/// Node ids from start to end, following predecessors back from end.
std::optional<std::vector<unsigned long>> reconstructPath(const ShortestPathSearch& search, std::size_t start,
                                                          std::size_t end) {
    std::vector<unsigned long> path{search.idAt(end)};
    std::size_t current = end;
    while (current != start) {
        const std::optional<std::size_t> previous = search.predecessor(current);
        if (!previous) {
            TW_LOG_ERROR("Path reconstruction failed: node {} has no predecessor.", search.idAt(current));
            return std::nullopt;
        }
        current = *previous;
        path.push_back(search.idAt(current));
    }
    std::reverse(path.begin(), path.end());
    return path;
}

/// A shortest path between two existing, distinct nodes; weightWord names the weight in the message about
/// a negative one.
std::optional<std::vector<unsigned long>> searchPath(const Graph& graph, unsigned long start, unsigned long end,
                                                     int weightIdx, const char* weightWord) {
    ShortestPathSearch search(graph, weightIdx, ShortestPathSearch::Direction::Forward);
    const std::size_t startRank = *search.rankOf(start);
    const std::size_t endRank = *search.rankOf(end);
    if (!search.run({startRank}, endRank)) {
        const auto [from, to] = *search.negativeEdge();
        TW_LOG_ERROR("Negative edge {} detected between nodes {} and {}", weightWord, from, to);
        return std::nullopt;
    }
    if (std::isinf(search.distance(endRank)))
        return std::nullopt; // unreachable
    return reconstructPath(search, startRank, endRank);
}

std::optional<int> weightIndex(const Graph& graph, const std::string& weightFeature) {
    std::optional<int> index = graph.getEdgeFeatureIdx(weightFeature);
    if (!index)
        TW_LOG_ERROR("Edge feature \"{}\" does not exist.", weightFeature);
    return index;
}

std::optional<ShortestPathTree> searchTree(const Graph& graph, const std::vector<unsigned long>& seeds,
                                           const std::string& weightFeature, bool seedsAreTargets, const char* caller) {
    const std::optional<int> weightIdx = weightIndex(graph, weightFeature);
    if (!weightIdx)
        return std::nullopt;
    ShortestPathSearch search(graph, *weightIdx,
                              seedsAreTargets ? ShortestPathSearch::Direction::Backward
                                              : ShortestPathSearch::Direction::Forward);
    std::vector<std::size_t> seedRanks;
    seedRanks.reserve(seeds.size());
    for (unsigned long id : seeds) {
        const std::optional<std::size_t> rank = search.rankOf(id);
        if (!rank) {
            TW_LOG_ERROR("Node {} provided to {} does not exist.", id, caller);
            return std::nullopt;
        }
        seedRanks.push_back(*rank);
    }
    if (!search.run(seedRanks)) {
        const auto [from, to] = *search.negativeEdge();
        TW_LOG_ERROR("Negative edge weight detected between nodes {} and {}", from, to);
        return std::nullopt;
    }
    ShortestPathTree tree;
    tree.seedsAreTargets = seedsAreTargets;
    for (std::size_t rank = 0; rank < search.size(); ++rank) {
        if (std::isinf(search.distance(rank)))
            continue;
        tree.distances.emplace_hint(tree.distances.end(), search.idAt(rank), search.distance(rank));
        if (const std::optional<std::size_t> previous = search.predecessor(rank))
            tree.towardsSeed.emplace_hint(tree.towardsSeed.end(), search.idAt(rank), search.idAt(*previous));
    }
    return tree;
}

} // namespace

std::optional<std::vector<unsigned long>> shortestGeometricPath(Graph& graph, unsigned long start, unsigned long end) {
    if (!graph.hasNode(start) || !graph.hasNode(end)) {
        TW_LOG_ERROR("Invalid start or end node provided to shortestGeometricPath.");
        return std::nullopt;
    }
    if (start == end)
        return std::vector<unsigned long>{start};
    const std::optional<int> existing = graph.getEdgeFeatureIdx("length");
    const int lengthIdx = existing ? *existing : computeEdgeLengths(graph);
    return searchPath(graph, start, end, lengthIdx, "length");
}

std::optional<std::vector<unsigned long>> shortestPath(const Graph& graph, unsigned long start, unsigned long end,
                                                       const std::string& weightFeature) {
    if (!graph.hasNode(start) || !graph.hasNode(end)) {
        TW_LOG_ERROR("Invalid start or end node provided to shortestPath.");
        return std::nullopt;
    }
    const std::optional<int> weightIdx = weightIndex(graph, weightFeature);
    if (!weightIdx)
        return std::nullopt;
    if (start == end)
        return std::vector<unsigned long>{start};
    return searchPath(graph, start, end, *weightIdx, "weight");
}

std::vector<unsigned long> ShortestPathTree::path(unsigned long node) const {
    if (distances.count(node) == 0)
        return {};
    std::vector<unsigned long> path{node};
    // The bound only guards against a hand-made tree with a cycle.
    for (auto step = towardsSeed.find(node); step != towardsSeed.end() && path.size() <= towardsSeed.size();
         step = towardsSeed.find(step->second))
        path.push_back(step->second);
    if (!seedsAreTargets)
        std::reverse(path.begin(), path.end());
    return path;
}

std::optional<ShortestPathTree> singleSourceShortestPaths(const Graph& graph, unsigned long source,
                                                          const std::string& weightFeature) {
    return searchTree(graph, {source}, weightFeature, false, "singleSourceShortestPaths");
}

std::optional<ShortestPathTree> singleTargetShortestPaths(const Graph& graph, unsigned long target,
                                                          const std::string& weightFeature) {
    return searchTree(graph, {target}, weightFeature, true, "singleTargetShortestPaths");
}

std::optional<ShortestPathTree> multipleSourceShortestPaths(const Graph& graph,
                                                            const std::vector<unsigned long>& sources,
                                                            const std::string& weightFeature) {
    return searchTree(graph, sources, weightFeature, false, "multipleSourceShortestPaths");
}

std::optional<ShortestPathTree> multipleTargetShortestPaths(const Graph& graph,
                                                            const std::vector<unsigned long>& targets,
                                                            const std::string& weightFeature) {
    return searchTree(graph, targets, weightFeature, true, "multipleTargetShortestPaths");
}

} // namespace Tarnwick::GraphUtils
