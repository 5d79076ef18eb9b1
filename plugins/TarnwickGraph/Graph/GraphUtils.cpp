// Structure and feature helpers of GraphUtils: leaves, the cycle test, arg-max over nodes, reductions,
// node-to-edge features and edge lengths. Segment walks live in GraphSegments.cpp, shortest paths in
// GraphShortestPaths.cpp.
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <unordered_map>

namespace Tarnwick::GraphUtils {

std::vector<unsigned long> findLeafNodes(const Graph& graph) {
    // A leaf has a single adjacency entry that is not a self loop (and, when directed, not two opposite
    // edges); only such candidates need the degree lookup.
    std::vector<unsigned long> leaves;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() == 1 && graph.degree(id, Graph::Total) == 1)
            leaves.push_back(id);
    });
    return leaves;
}

bool isAcyclic(const Graph& graph) {
    // Depth-first search with an explicit stack (so long chains cannot exhaust the call stack), nodes and
    // entries in ascending id. The entry back to the parent is the link just followed and is skipped,
    // unless the two nodes are joined by two opposite directed edges, which form a cycle of their own.
    // Meeting a node that is still on the stack is a cycle.
    enum class State : char { OnStack, Done };
    struct Frame {
        unsigned long id;
        std::optional<unsigned long> parent;
        Graph::Neighborhood::const_iterator next, end;
    };
    const bool undirected = graph.type() == Graph::Undirected;
    std::unordered_map<unsigned long, State> state;
    state.reserve(graph.numNodes());
    std::vector<Frame> stack;
    bool cyclic = false;

    graph.forEachNode([&](unsigned long root, const Graph::NodeInfo&, const Graph::Neighborhood& rootAdjacency) {
        if (cyclic || state.count(root) != 0)
            return;
        state.emplace(root, State::OnStack);
        stack.push_back({root, std::nullopt, rootAdjacency.begin(), rootAdjacency.end()});
        while (!stack.empty() && !cyclic) {
            Frame& frame = stack.back();
            if (frame.next == frame.end) {
                state[frame.id] = State::Done;
                stack.pop_back();
                continue;
            }
            const unsigned long neighbor = frame.next->first;
            const bool engaged = frame.next->second.has_value();
            ++frame.next;
            if (frame.parent && neighbor == *frame.parent &&
                (undirected || !engaged || !graph.edge(neighbor, frame.id)))
                continue;
            auto known = state.find(neighbor);
            if (known != state.end()) {
                cyclic = known->second == State::OnStack;
                continue;
            }
            state.emplace(neighbor, State::OnStack);
            const Graph::Neighborhood& adjacency = graph.neighborhood(neighbor);
            const unsigned long parent = frame.id; // frame is invalidated by push_back
            stack.push_back({neighbor, parent, adjacency.begin(), adjacency.end()});
        }
    });
    return !cyclic;
}

std::optional<unsigned long>
argmaxNode(const Graph& graph,
           const std::function<double(unsigned long, const Graph::NodeInfo&, const Graph::Neighborhood&)>& score) {
    std::optional<unsigned long> best;
    double bestScore = 0.0;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& info, const Graph::Neighborhood& adjacency) {
        const double value = score(id, info, adjacency);
        if (!best || value > bestScore || (std::isnan(bestScore) && !std::isnan(value))) {
            best = id;
            bestScore = value;
        }
    });
    return best;
}

std::optional<unsigned long> argmaxNode(const Graph& graph,
                                        const std::function<double(const Graph::NodeInfo&)>& score) {
    return argmaxNode(
        graph, [&](unsigned long, const Graph::NodeInfo& info, const Graph::Neighborhood&) { return score(info); });
}

std::uint32_t transformNodeFeatureToEdge(Graph& graph, unsigned long nodeFeatureIdx,
                                         const std::function<double(double, double)>& combine,
                                         const std::string& edgeFeatureName) {
    const std::size_t nodeFeatureCount = graph.nodeFeatureDescriptors().size();
    if (nodeFeatureIdx >= nodeFeatureCount) {
        TW_LOG_ERROR("Node feature index {} is out of range: the graph has {} node features.",
                     static_cast<long>(nodeFeatureIdx), nodeFeatureCount);
        return 0xFFFFFFFFu;
    }
    const int edgeFeatureIdx = graph.getOrCreateEdgeFeatureIdx(edgeFeatureName, 0.0);
    const bool undirected = graph.type() == Graph::Undirected;
    // Undirected edges arrive as (u, v) with u <= v; their value is combined from the larger end first.
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, const Graph::NodeInfo& source, unsigned long,
                           const Graph::NodeInfo& target) {
        const double a = source.features[nodeFeatureIdx];
        const double b = target.features[nodeFeatureIdx];
        edge.features[static_cast<std::size_t>(edgeFeatureIdx)] = undirected ? combine(b, a) : combine(a, b);
    });
    return static_cast<std::uint32_t>(edgeFeatureIdx);
}

double avgReduction(const std::vector<double>& values) {
    return values.empty() ? 0.0 : sumReduction(values) / static_cast<double>(values.size());
}

double sumReduction(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

double computeMedian(std::vector<double> values) {
    if (values.empty())
        return 0.0;
    // NaN breaks the ordering the selection relies on.
    if (std::any_of(values.begin(), values.end(), [](double v) { return std::isnan(v); }))
        return std::numeric_limits<double>::quiet_NaN();
    const std::size_t half = values.size() / 2;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half), values.end());
    const double upper = values[half];
    if (values.size() % 2 == 1)
        return upper;
    const double lower = *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half));
    return (lower + upper) / 2.0;
}

void transformNodePositions(Graph& graph, const Eigen::Matrix4d& transform) {
    const Eigen::Matrix3d linear = transform.topLeftCorner<3, 3>();
    const Eigen::Vector3d offset = transform.topRightCorner<3, 1>();
    graph.editEachNode([&](unsigned long, Graph::NodeInfo& node) { node.position = linear * node.position + offset; });
}

void copyFeatureDescriptors(const Graph& source, Graph& target) {
    target.clearFeatureDescriptors();
    target.addNodeFeatureDescriptors(source.nodeFeatureDescriptors());
    target.addEdgeFeatureDescriptors(source.edgeFeatureDescriptors());
}

int computeEdgeLengths(Graph& graph) {
    const int lengthIdx = graph.getOrCreateEdgeFeatureIdx("length", 0.0);
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, const Graph::NodeInfo& source, unsigned long,
                           const Graph::NodeInfo& target) {
        edge.features[static_cast<std::size_t>(lengthIdx)] = (target.position - source.position).norm();
    });
    return lengthIdx;
}

} // namespace Tarnwick::GraphUtils
