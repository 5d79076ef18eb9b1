// Segment helpers of GraphUtils. A segment is a maximal chain of edges whose inner nodes have exactly
// two adjacency entries; walks follow edges regardless of their direction. Accumulation gives every edge
// one value per segment; clamping and smoothing even a feature out along each segment.
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace Tarnwick::GraphUtils {

namespace {

/// The stored record of the edge between a and b: a -> b if it exists, else b -> a; null when neither.
const Graph::EdgeInfo* edgeBetween(const Graph& graph, unsigned long a, unsigned long b) {
    if (const auto& forward = graph.edge(a, b))
        return &*forward;
    if (const auto& backward = graph.edge(b, a))
        return &*backward;
    return nullptr;
}

bool isEdgeFeature(const Graph& graph, int featureIdx) {
    if (featureIdx >= 0 && static_cast<std::size_t>(featureIdx) < graph.edgeFeatureDescriptors().size())
        return true;
    TW_LOG_ERROR("Edge feature index {} is out of range: the graph has {} edge features.", featureIdx,
                 graph.edgeFeatureDescriptors().size());
    return false;
}

struct PairHash {
    std::size_t operator()(const std::pair<unsigned long, unsigned long>& p) const {
        return std::hash<unsigned long>()(p.first * 0x9E3779B97F4A7C15ull ^ p.second);
    }
};
using PairValues = std::unordered_map<std::pair<unsigned long, unsigned long>, double, PairHash>;

double mean(double sum, std::size_t count) {
    return sum / static_cast<double>(count);
}

/// Mean value of the edges at `node` whose other end is not on the segment; empty when there are none.
std::optional<double> junctionValue(const Graph& graph, unsigned long node,
                                    const std::unordered_set<unsigned long>& segmentNodes, std::size_t featureIdx) {
    double sum = 0.0;
    std::size_t count = 0;
    for (const auto& [neighbor, stored] : graph.neighborhood(node)) {
        if (segmentNodes.count(neighbor) != 0)
            continue;
        if (const Graph::EdgeInfo* edge = edgeBetween(graph, node, neighbor)) {
            sum += edge->features[featureIdx];
            ++count;
        }
    }
    if (count == 0)
        return std::nullopt;
    return mean(sum, count);
}

/// Clamps values around their median into [median / factor, median * factor].
void clampToMedian(std::vector<double>& values, double factor) {
    const double median = computeMedian(values);
    const double low = std::min(median / factor, median * factor);
    const double high = std::max(median / factor, median * factor);
    for (double& value : values)
        value = std::max(low, std::min(value, high));
}

/// Centred sliding mean of `width` positions over [before?, values..., after?], cut at its ends.
std::vector<double> slidingMean(const std::vector<double>& values, std::optional<double> before,
                                std::optional<double> after, int width) {
    std::vector<double> sequence;
    sequence.reserve(values.size() + 2);
    if (before)
        sequence.push_back(*before);
    sequence.insert(sequence.end(), values.begin(), values.end());
    if (after)
        sequence.push_back(*after);

    const std::ptrdiff_t left = (width - 1) / 2;
    const std::ptrdiff_t right = width / 2;
    const std::ptrdiff_t offset = before ? 1 : 0;
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(sequence.size()) - 1;
    std::vector<double> result(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::ptrdiff_t centre = static_cast<std::ptrdiff_t>(i) + offset;
        const std::ptrdiff_t from = std::max<std::ptrdiff_t>(0, centre - left);
        const std::ptrdiff_t to = std::min(last, centre + right);
        double sum = 0.0;
        for (std::ptrdiff_t j = from; j <= to; ++j)
            sum += sequence[static_cast<std::size_t>(j)];
        result[i] = mean(sum, static_cast<std::size_t>(to - from + 1));
    }
    return result;
}

} // namespace

std::vector<unsigned long>
traversePath(const Graph& graph, unsigned long start, unsigned long next,
             const std::function<void(unsigned long, unsigned long, const Graph::EdgeInfo&)>& visit) {
    const Graph::Neighborhood& startAdjacency = graph.neighborhood(start);
    if (startAdjacency.count(next) == 0)
        return {};
    std::vector<unsigned long> nodes{start};
    unsigned long previous = start;
    unsigned long current = next;
    while (true) {
        const Graph::EdgeInfo* edge = edgeBetween(graph, previous, current);
        if (edge == nullptr)
            break;
        if (visit)
            visit(previous, current, *edge);
        nodes.push_back(current);
        if (current == start)
            break; // closed loop
        const Graph::Neighborhood& adjacency = graph.neighborhood(current);
        if (adjacency.size() != 2)
            break;
        // An inner node has two distinct neighbours, one of them the node we came from.
        const unsigned long following =
            adjacency.begin()->first == previous ? std::next(adjacency.begin())->first : adjacency.begin()->first;
        if (following == current)
            break; // a self loop is not part of the chain
        previous = current;
        current = following;
    }
    return nodes;
}

LinearPath collectLinearPathFeatures(const Graph& graph, unsigned long start, unsigned long next, int featureIdx) {
    if (!isEdgeFeature(graph, featureIdx))
        return {};
    LinearPath path;
    const auto column = static_cast<std::size_t>(featureIdx);
    path.nodes = traversePath(graph, start, next, [&](unsigned long, unsigned long, const Graph::EdgeInfo& edge) {
        path.values.push_back(edge.features[column]);
    });
    return path;
}

AggregatedPath aggregateLinearPathFeatures(const Graph& graph, unsigned long start, unsigned long next, int featureIdx,
                                           const Reduction& reduce) {
    LinearPath path = collectLinearPathFeatures(graph, start, next, featureIdx);
    AggregatedPath result;
    result.value = reduce(path.values);
    result.nodes = std::move(path.nodes);
    return result;
}

int accumulateFeatureAlongSegments(Graph& graph, const Reduction& reduce, int featureIdx,
                                   const std::string& outputName) {
    if (!isEdgeFeature(graph, featureIdx))
        return -1;
    std::unordered_set<unsigned long> visited;
    PairValues segmentValue;
    auto walk = [&](unsigned long start, unsigned long next) {
        const AggregatedPath path = aggregateLinearPathFeatures(graph, start, next, featureIdx, reduce);
        for (std::size_t i = 0; i + 1 < path.nodes.size(); ++i) {
            segmentValue[{path.nodes[i], path.nodes[i + 1]}] = path.value;
            segmentValue[{path.nodes[i + 1], path.nodes[i]}] = path.value;
        }
        visited.insert(path.nodes.begin(), path.nodes.end());
    };
    // Segments from branching nodes first, then from leaves, then closed loops.
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() < 3)
            return;
        for (const auto& [neighbor, edge] : adjacency)
            if (segmentValue.count({id, neighbor}) == 0)
                walk(id, neighbor);
    });
    for (std::size_t entries : {1, 2}) {
        graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
            if (adjacency.size() == entries && visited.count(id) == 0)
                walk(id, adjacency.begin()->first);
        });
    }
    const int outputIdx = graph.getOrCreateEdgeFeatureIdx(outputName, 0.0);
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long u, unsigned long v) {
        auto found = segmentValue.find({u, v});
        edge.features[static_cast<std::size_t>(outputIdx)] = found == segmentValue.end() ? 0.0 : found->second;
    });
    return outputIdx;
}

int accumulateFeatureAlongSegments(Graph& graph, const Reduction& reduce, const std::string& featureName,
                                   const std::string& outputName) {
    return accumulateFeatureAlongSegments(graph, reduce, graph.getEdgeFeatureIdx(featureName).value(), outputName);
}

bool clampAndSmoothEdgeFeature(Graph& graph, int featureIdx, bool clamp, std::optional<int> slidingAverage,
                               double factor) {
    if (!isEdgeFeature(graph, featureIdx))
        return false;
    if (slidingAverage && *slidingAverage < 1) {
        TW_LOG_ERROR("The sliding average width must be at least 1, not {}.", *slidingAverage);
        return false;
    }
    if (clamp && !(std::isfinite(factor) && factor > 0.0)) {
        TW_LOG_ERROR("The clamping factor must be a positive number, not {}.", factor);
        return false;
    }
    const auto column = static_cast<std::size_t>(featureIdx);
    struct Update {
        unsigned long a, b;
        double value;
    };
    std::vector<Update> updates;
    std::unordered_set<unsigned long> visited;

    auto processSegment = [&](unsigned long start, unsigned long next) {
        LinearPath path = collectLinearPathFeatures(graph, start, next, featureIdx);
        if (path.values.empty())
            return;
        visited.insert(path.nodes.begin(), path.nodes.end());
        std::vector<double> values = std::move(path.values);
        if (clamp)
            clampToMedian(values, factor);
        if (slidingAverage) {
            const std::unordered_set<unsigned long> segmentNodes(path.nodes.begin(), path.nodes.end());
            values = slidingMean(values, junctionValue(graph, path.nodes.front(), segmentNodes, column),
                                 junctionValue(graph, path.nodes.back(), segmentNodes, column), *slidingAverage);
        }
        for (std::size_t i = 0; i < values.size(); ++i)
            updates.push_back({path.nodes[i], path.nodes[i + 1], values[i]});
    };
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() == 2)
            return;
        for (const auto& [neighbor, edge] : adjacency)
            if (visited.count(neighbor) == 0)
                processSegment(id, neighbor);
    });
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() == 2 && visited.count(id) == 0)
            processSegment(id, adjacency.begin()->first);
    });

    // New values were all computed from the old ones; write them now.
    for (const Update& update : updates) {
        const bool forward = graph.edge(update.a, update.b).has_value();
        graph.editEdge(forward ? update.a : update.b, forward ? update.b : update.a,
                       [&](Graph::EdgeInfo& edge) { edge.features[column] = update.value; });
    }
    return true;
}

} // namespace Tarnwick::GraphUtils
