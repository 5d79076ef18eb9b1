#include <TarnwickGraph/Graph/GraphFeatureCircles.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Data/AlignedBox.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>

namespace Tarnwick {

namespace {

using ScalingMode = GraphDisplayOptions::FeatureCircleOptions::ScalingMode;

Eigen::Vector3d unitDirection(const Eigen::Vector3d& from, const Eigen::Vector3d& to) {
    const Eigen::Vector3d d = to - from;
    const double length = d.norm();
    return length > 0.0 ? Eigen::Vector3d(d / length) : Eigen::Vector3d::UnitZ();
}

void addCircle(GraphFeatureCircles& circles, const Eigen::Vector3d& center, const Eigen::Vector3d& normal,
               double value) {
    circles.centers.push_back(center);
    circles.normals.push_back(normal);
    circles.values.push_back(value);
}

void addEdgeCircles(const Graph& graph, int featureIdx, GraphFeatureCircles& circles) {
    const std::size_t edges = graph.numEdges();
    circles.centers.reserve(edges);
    circles.normals.reserve(edges);
    circles.values.reserve(edges);
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, const Graph::NodeInfo& from, const Graph::NodeInfo& to) {
        addCircle(circles, 0.5 * (from.position + to.position), unitDirection(from.position, to.position),
                  edge.features[featureIdx]);
    });
}

/// Node positions by id, for the chain walks (ids ascending, so lookups are binary searches).
class NodePositions {
public:
    explicit NodePositions(const Graph& graph) {
        m_ids.reserve(graph.numNodes());
        m_positions.reserve(graph.numNodes());
        graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
            m_ids.push_back(id);
            m_positions.push_back(node.position);
        });
    }
    const Eigen::Vector3d& operator[](unsigned long id) const {
        return m_positions[std::lower_bound(m_ids.begin(), m_ids.end(), id) - m_ids.begin()];
    }

private:
    std::vector<unsigned long> m_ids;
    std::vector<Eigen::Vector3d> m_positions;
};

/// One circle for a chain, at the point halfway along its length, showing the mean of its edge values.
void addChainCircle(const NodePositions& positions, const GraphUtils::LinearPath& chain, GraphFeatureCircles& circles) {
    double length = 0.0;
    for (std::size_t i = 1; i < chain.nodes.size(); ++i)
        length += (positions[chain.nodes[i]] - positions[chain.nodes[i - 1]]).norm();
    double remaining = 0.5 * length;
    for (std::size_t i = 1; i < chain.nodes.size(); ++i) {
        const Eigen::Vector3d& a = positions[chain.nodes[i - 1]];
        const Eigen::Vector3d& b = positions[chain.nodes[i]];
        const double step = (b - a).norm();
        if (remaining <= step || i + 1 == chain.nodes.size()) {
            const double t = step > 0.0 ? std::min(remaining / step, 1.0) : 0.5;
            addCircle(circles, a + t * (b - a), unitDirection(a, b), GraphUtils::avgReduction(chain.values));
            return;
        }
        remaining -= step;
    }
}

/// Walks every segment once: from nodes whose adjacency count is not 2 towards each neighbour, then
/// around closed loops of degree-2 nodes that no walk reached.
void addChainCircles(const Graph& graph, int featureIdx, GraphFeatureCircles& circles) {
    const NodePositions positions(graph);
    std::unordered_set<unsigned long> visited;
    auto walk = [&](unsigned long start, unsigned long next) {
        GraphUtils::LinearPath chain = GraphUtils::collectLinearPathFeatures(graph, start, next, featureIdx);
        if (chain.nodes.size() < 2)
            return;
        visited.insert(chain.nodes.begin(), chain.nodes.end());
        addChainCircle(positions, chain, circles);
    };
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbors) {
        if (neighbors.size() == 2)
            return;
        for (const auto& entry : neighbors) {
            const unsigned long next = entry.first;
            if (next == id)
                continue;
            // An inner node already walked means this chain was walked from its other end; a single edge
            // between two end nodes is taken from its smaller id.
            const bool nextIsEnd = graph.neighborhood(next).size() != 2;
            if (nextIsEnd ? next < id : visited.count(next) != 0)
                continue;
            walk(id, next);
        }
    });
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbors) {
        if (neighbors.size() == 2 && visited.count(id) == 0 && neighbors.begin()->first != id)
            walk(id, neighbors.begin()->first);
    });
}

/// Half the largest "diameter" when the graph has that edge feature, else the cube root of the volume
/// of the box around the nodes per edge.
double referenceRadius(const Graph& graph) {
    if (const auto diameter = graph.getEdgeFeatureIdx("diameter")) {
        double largest = -std::numeric_limits<double>::infinity();
        graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
            largest = std::max(largest, edge.features[*diameter]);
        });
        return 0.5 * largest;
    }
    Geometry::AlignedBox box;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { box.addPoint(node.position); });
    return std::cbrt(box.volume() / static_cast<double>(graph.numEdges()));
}

void computeRadii(const Graph& graph, ScalingMode mode, GraphFeatureCircles& circles) {
    circles.radii.resize(circles.values.size());
    double max = -std::numeric_limits<double>::infinity();
    for (double x : circles.values)
        max = std::max(max, x);
    const bool rescale = mode != ScalingMode::Raw && max > 0.0;
    const double ref = rescale ? referenceRadius(graph) : 0.0;
    for (std::size_t i = 0; i < circles.values.size(); ++i) {
        const double x = circles.values[i];
        double r = x;
        if (rescale && mode == ScalingMode::RescaledMax)
            r = x * ref / max;
        else if (rescale && mode == ScalingMode::Logarithmic)
            r = ref * std::log1p(x) / std::log1p(max);
        circles.radii[i] = std::isfinite(r) ? static_cast<float>(r) : 0.0f;
    }
}

} // namespace

GraphFeatureCircles GraphFeatureCircles::compute(const Graph& graph,
                                                 const GraphDisplayOptions::FeatureCircleOptions& options) {
    GraphFeatureCircles circles;
    const auto& name = options.featureName.value();
    const auto featureIdx = name ? graph.getEdgeFeatureIdx(*name) : std::nullopt;
    if (!featureIdx || graph.numEdges() == 0)
        return circles;
    if (options.simplifyLinearChains)
        addChainCircles(graph, *featureIdx, circles);
    else
        addEdgeCircles(graph, *featureIdx, circles);
    computeRadii(graph, options.scalingMode, circles);
    return circles;
}

bool GraphFeatureCircles::isInconsistent() const {
    return normals.size() != centers.size() || radii.size() != centers.size() || values.size() != centers.size();
}

} // namespace Tarnwick
