#include <TarnwickGraph/Graph/ShortestPathSearch.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <queue>

namespace Tarnwick {

ShortestPathSearch::ShortestPathSearch(const Graph& graph, int weightIdx, Direction direction)
    : m_graph(graph), m_weightIdx(static_cast<std::size_t>(weightIdx)), m_direction(direction) {
    m_ids.reserve(graph.numNodes());
    m_adjacency.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        m_ids.push_back(id);
        m_adjacency.push_back(&adjacency);
    });
    m_distance.assign(m_ids.size(), std::numeric_limits<double>::infinity());
    m_predecessor.assign(m_ids.size(), none);
}

std::optional<std::size_t> ShortestPathSearch::rankOf(unsigned long id) const {
    auto it = std::lower_bound(m_ids.begin(), m_ids.end(), id);
    if (it == m_ids.end() || *it != id)
        return std::nullopt;
    return static_cast<std::size_t>(it - m_ids.begin());
}

std::optional<std::size_t> ShortestPathSearch::rankNear(unsigned long id, std::size_t hint) const {
    if (hint + 1 < m_ids.size() && m_ids[hint + 1] == id)
        return hint + 1;
    if (hint > 0 && m_ids[hint - 1] == id)
        return hint - 1;
    return rankOf(id);
}

std::optional<std::size_t> ShortestPathSearch::predecessor(std::size_t rank) const {
    if (m_predecessor[rank] == none)
        return std::nullopt;
    return m_predecessor[rank];
}

template <typename Relax>
bool ShortestPathSearch::forEachStep(std::size_t rank, Relax&& relax) const {
    const bool reverse = m_direction == Direction::Backward && m_graph.type() == Graph::Directed;
    const unsigned long id = m_ids[rank];
    for (const auto& [neighbor, stored] : *m_adjacency[rank]) {
        const std::optional<std::size_t> next = rankNear(neighbor, rank);
        if (!next)
            continue;
        // Against the direction, the step uses the edge neighbor -> id, stored at the neighbour.
        const std::optional<Graph::EdgeInfo>* record = &stored;
        if (reverse) {
            const Graph::Neighborhood& neighborAdjacency = *m_adjacency[*next];
            auto back = neighborAdjacency.find(id);
            if (back == neighborAdjacency.end())
                continue;
            record = &back->second;
        }
        if (!record->has_value())
            continue;
        if (!relax(*next, (*record)->features[m_weightIdx]))
            return false;
    }
    return true;
}

bool ShortestPathSearch::run(const std::vector<std::size_t>& seeds, std::optional<std::size_t> stopAt) {
    using Item = std::pair<double, std::size_t>; // (distance, rank): ties pop the smaller id first
    std::priority_queue<Item, std::vector<Item>, std::greater<Item>> heap;
    for (std::size_t seed : seeds) {
        m_distance[seed] = 0.0;
        heap.emplace(0.0, seed);
    }
    const bool reverse = m_direction == Direction::Backward && m_graph.type() == Graph::Directed;
    while (!heap.empty()) {
        // Plain variables, not a structured binding: the lambda below captures them (C++17 forbids
        // capturing bindings; clang refuses it).
        const double distance = heap.top().first;
        const std::size_t rank = heap.top().second;
        heap.pop();
        if (stopAt && rank == *stopAt)
            break;
        if (distance > m_distance[rank])
            continue; // stale entry
        const bool ok = forEachStep(rank, [&](std::size_t next, double weight) {
            if (weight < 0.0) {
                m_negativeEdge =
                    reverse ? std::make_pair(m_ids[next], m_ids[rank]) : std::make_pair(m_ids[rank], m_ids[next]);
                return false;
            }
            const double candidate = distance + weight;
            if (candidate < m_distance[next]) {
                m_distance[next] = candidate;
                m_predecessor[next] = rank;
                heap.emplace(candidate, next);
            }
            return true;
        });
        if (!ok)
            return false;
    }
    return true;
}

} // namespace Tarnwick
