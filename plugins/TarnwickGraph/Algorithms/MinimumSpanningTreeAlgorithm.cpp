// Minimum spanning forest by Kruskal's algorithm: the edges are sorted by key (introsort) and joined
// with a union-find structure (path halving, union by rank); O(E log E + E alpha(N)) time, O(N + E)
// memory. Segment pruning then walks from each leaf created by a cut edge to the next branching node
// and removes the walked chain (collected first, removed after the pass); O(removed nodes log N).

#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphSelection.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphMatrixUtils.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <set>

namespace Tarnwick {

namespace {

/// 1 / value, with 100 for a value of exactly 0 (NaN stays NaN).
double reciprocalKey(double value) {
    return value == 0.0 ? 100.0 : 1.0 / value;
}

double column(const Graph::EdgeInfo& edge, int idx) {
    return edge.features[static_cast<std::size_t>(idx)];
}

double maxOverEdges(const Graph& graph, int idx) {
    double result = -std::numeric_limits<double>::infinity();
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        result = std::max(result, column(edge, idx));
    });
    return result;
}

void fillKey(Graph& graph, int keyIdx, const std::function<double(const Graph::EdgeInfo&)>& key) {
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        edge.features[static_cast<std::size_t>(keyIdx)] = key(edge);
    });
}

/// The chain from leaf through nodes with at most two neighbours, up to the first branching node (which
/// is not part of it), or the whole path when it ends at another leaf (an isolated chain, such as a ring
/// that was cut open).
std::vector<unsigned long> danglingChain(const Graph& graph, unsigned long leaf) {
    std::vector<unsigned long> chain{leaf};
    unsigned long previous = leaf;
    unsigned long current = graph.neighborhood(leaf).begin()->first;
    while (current != leaf && graph.degree(current, Graph::Total) <= 2) {
        chain.push_back(current);
        unsigned long next = previous;
        for (const auto& entry : graph.neighborhood(current))
            if (entry.first != previous)
                next = entry.first;
        if (next == previous)
            break; // the far leaf of an isolated chain, such as an opened ring: all of it goes
        previous = current;
        current = next;
    }
    return chain;
}

} // namespace

MinimumSpanningTreeAlgorithm::SpanningForest
getMinimumSpanningTree(std::vector<MinimumSpanningTreeAlgorithm::KeyedEdge> edges) {
    using KeyedEdge = MinimumSpanningTreeAlgorithm::KeyedEdge;
    std::sort(edges.begin(), edges.end(), [](const KeyedEdge& a, const KeyedEdge& b) {
        return a.key < b.key || (!std::isnan(a.key) && std::isnan(b.key));
    });
    int count = 0;
    for (const KeyedEdge& edge : edges)
        count = std::max({count, edge.from + 1, edge.to + 1});
    std::vector<int> parent(static_cast<std::size_t>(count));
    std::iota(parent.begin(), parent.end(), 0);
    std::vector<int> rank(static_cast<std::size_t>(count), 0);

    MinimumSpanningTreeAlgorithm::SpanningForest forest;
    for (const KeyedEdge& edge : edges) {
        if (unionSets(parent, rank, edge.from, edge.to))
            forest.tree.push_back(edge);
        else
            forest.rejected.push_back(edge);
    }
    return forest;
}

int findParent(std::vector<int>& parent, int i) {
    while (parent[static_cast<std::size_t>(i)] != i) {
        auto& link = parent[static_cast<std::size_t>(i)];
        link = parent[static_cast<std::size_t>(link)];
        i = link;
    }
    return i;
}

bool unionSets(std::vector<int>& parent, std::vector<int>& rank, int a, int b) {
    int rootA = findParent(parent, a);
    int rootB = findParent(parent, b);
    if (rootA == rootB)
        return false;
    if (rank[static_cast<std::size_t>(rootA)] < rank[static_cast<std::size_t>(rootB)])
        std::swap(rootA, rootB);
    parent[static_cast<std::size_t>(rootB)] = rootA;
    if (rank[static_cast<std::size_t>(rootA)] == rank[static_cast<std::size_t>(rootB)])
        ++rank[static_cast<std::size_t>(rootA)];
    return true;
}

MinimumSpanningTreeAlgorithm::MinimumSpanningTreeAlgorithm(Graph& graph, SharedImageSet* labelMap)
    : m_graph(graph), m_labelMap(labelMap) {
    weightMode.setAttribute("values", "EdgeLength, Diameter, WeightedDiameterEdgeLength, UserDefined");
    updateVisibility();
    weightMode.signalValueChanged.connect([this]() { updateVisibility(); });
}

bool MinimumSpanningTreeAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto selection = graphWithOptionalImage(data);
    if (!selection)
        return false;
    if (out)
        *out = new MinimumSpanningTreeAlgorithm(*selection->graph, selection->image);
    return true;
}

void MinimumSpanningTreeAlgorithm::updateVisibility() {
    const bool readsName = weightMode == EdgeLength || weightMode == UserDefined;
    edgeFeatureName.setAttribute("hidden", readsName ? "false" : "true");
}

void MinimumSpanningTreeAlgorithm::compute() {
    m_output.clear();
    if (m_graph.type() != Graph::Undirected) {
        TW_LOG_ERROR("This algorithm only works for undirected graphs.");
        setStatus(InvalidInput);
        return;
    }
    m_result = m_graph.clone();
    const int keyIdx = m_result->getOrCreateEdgeFeatureIdx("mstSortKey", 0.0);
    if (!buildMstSortKey(keyIdx)) {
        TW_LOG_ERROR("Failed to build MST keys.");
        m_result.reset();
        setStatus(InvalidInput);
        return;
    }
    applyKruskalAndSegmentPrune(keyIdx);
    m_output.add(std::move(m_result));
    setStatus(Success);
}

bool MinimumSpanningTreeAlgorithm::ensureDiameters() {
    const auto usable = [&]() {
        const std::optional<int> idx = m_result->getEdgeFeatureIdx("diameter");
        if (!idx)
            return false;
        double sumOfSquares = 0.0;
        m_result->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
            sumOfSquares += column(edge, *idx) * column(edge, *idx);
        });
        return sumOfSquares != 0.0;
    };
    if (usable())
        return true;
    const SharedImage* labels = m_labelMap ? m_labelMap->get(-1) : nullptr;
    if (!labels)
        return false;
    TW_LOG_INFO("Measuring diameters in the label map.");
    ComputeCommonGraphFeaturesAlgorithm::computeDiameters(*m_result, *labels, true, 0.5);
    return usable();
}

bool MinimumSpanningTreeAlgorithm::buildMstSortKey(int keyIdx) {
    if (!m_result)
        return false;
    Graph& graph = *m_result;
    switch (weightMode.value()) {
    case UserDefined: {
        TW_LOG_INFO("Mode: UserDefined.");
        if (m_graph.edgeFeatureDescriptors().empty()) {
            TW_LOG_ERROR("No edge features available for user-defined weights.");
            return false;
        }
        std::optional<int> idx = graph.getEdgeFeatureIdx(edgeFeatureName);
        if (!idx || edgeFeatureName.value() == "mstSortKey") {
            TW_LOG_ERROR("Edge feature '{}' not found.", edgeFeatureName.value());
            return false;
        }
        if (pruneBySegment)
            idx =
                GraphUtils::accumulateFeatureAlongSegments(graph, GraphUtils::sumReduction, *idx, "accumulatedFeature");
        fillKey(graph, keyIdx, [&](const Graph::EdgeInfo& edge) { return reciprocalKey(column(edge, *idx)); });
        return true;
    }
    case Diameter: {
        TW_LOG_INFO("Mode: Diameter.");
        if (!ensureDiameters()) {
            TW_LOG_ERROR("Diameter edge feature is missing or empty; provide a label map to compute it.");
            return false;
        }
        const int idx = *graph.getEdgeFeatureIdx("diameter");
        fillKey(graph, keyIdx, [&](const Graph::EdgeInfo& edge) { return reciprocalKey(column(edge, idx)); });
        return true;
    }
    case WeightedDiameterEdgeLength: {
        TW_LOG_INFO("Mode: WeightedDiameterEdgeLength.");
        if (!ensureDiameters() && !graph.getEdgeFeatureIdx("diameter")) {
            TW_LOG_ERROR("Diameter edge feature is missing; provide a label map to compute it.");
            return false;
        }
        int diameterIdx = *graph.getEdgeFeatureIdx("diameter");
        int lengthIdx = graph.getEdgeFeatureIdx("length").value_or(-1);
        if (lengthIdx < 0)
            lengthIdx = GraphUtils::computeEdgeLengths(graph);
        if (pruneBySegment) {
            diameterIdx = GraphUtils::accumulateFeatureAlongSegments(graph, GraphUtils::avgReduction, diameterIdx,
                                                                     "accumulatedFeature");
            lengthIdx = GraphUtils::accumulateFeatureAlongSegments(graph, GraphUtils::sumReduction, lengthIdx,
                                                                   "accumulatedEdgeLengths");
        }
        const double maxDiameter = maxOverEdges(graph, diameterIdx);
        const double maxLength = maxOverEdges(graph, lengthIdx);
        const bool zeroIsSpecial = pruneBySegment;
        fillKey(graph, keyIdx, [&](const Graph::EdgeInfo& edge) {
            const double diameter = column(edge, diameterIdx);
            if (zeroIsSpecial && diameter == 0.0)
                return 100.0;
            return 1.0 / ((diameter / maxDiameter) * (column(edge, lengthIdx) / maxLength));
        });
        return true;
    }
    case EdgeLength: {
        TW_LOG_INFO("Mode: EdgeLength.");
        std::optional<int> idx = graph.getEdgeFeatureIdx(edgeFeatureName);
        if (!idx || edgeFeatureName.value() == "mstSortKey")
            idx = GraphUtils::computeEdgeLengths(graph);
        if (pruneBySegment)
            idx =
                GraphUtils::accumulateFeatureAlongSegments(graph, GraphUtils::sumReduction, *idx, "accumulatedFeature");
        fillKey(graph, keyIdx, [&](const Graph::EdgeInfo& edge) { return reciprocalKey(column(edge, *idx)); });
        return true;
    }
    }
    TW_LOG_ERROR("Unknown weight mode {}.", static_cast<int>(weightMode.value()));
    return false;
}

void MinimumSpanningTreeAlgorithm::applyKruskalAndSegmentPrune(int keyIdx) {
    if (!m_result)
        return;
    Graph& graph = *m_result;
    const GraphMatrixUtils::SequentialIndex index = GraphMatrixUtils::graphToSequentialIndex(graph);
    std::vector<KeyedEdge> edges;
    edges.reserve(graph.numEdges());
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        edges.push_back({index.idToIndex.at(from), index.idToIndex.at(to), column(edge, keyIdx)});
    });
    const SpanningForest forest = getMinimumSpanningTree(std::move(edges));

    std::vector<unsigned long> cutEnds;
    for (const KeyedEdge& edge : forest.rejected) {
        const unsigned long from = index.indexToId[static_cast<std::size_t>(edge.from)];
        const unsigned long to = index.indexToId[static_cast<std::size_t>(edge.to)];
        graph.removeEdge(from, to);
        cutEnds.push_back(from);
        cutEnds.push_back(to);
    }

    if (pruneBySegment) {
        std::set<unsigned long> doomed;
        for (unsigned long end : cutEnds) {
            if (graph.degree(end, Graph::Total) != 1 || doomed.count(end))
                continue;
            for (unsigned long id : danglingChain(graph, end))
                doomed.insert(id);
        }
        for (unsigned long id : doomed)
            graph.removeNode(id);
    }

    if (!GraphUtils::isAcyclic(graph))
        TW_LOG_WARN("Graph is still acyclic.");
}

} // namespace Tarnwick
