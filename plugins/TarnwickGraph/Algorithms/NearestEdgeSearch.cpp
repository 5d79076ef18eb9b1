// Nearest-edge search: a k-d tree over evenly spaced edge samples narrows the candidates, the exact
// point-to-segment distance decides. See the header for the bound that makes the result exact.

#include <TarnwickGraph/Algorithms/NearestEdgeSearch.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

NearestEdgeSearch::NearestEdgeSearch(const Graph& graph) {
    const Eigen::Matrix4d toWorld = graph.matrixToWorld();
    const auto world = [&](const Eigen::Vector3d& p) -> Eigen::Vector3d {
        return (toWorld * p.homogeneous()).head<3>();
    };
    std::vector<double> lengths;
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long from, const Graph::NodeInfo& a, unsigned long to,
                          const Graph::NodeInfo& b) {
        m_segments.push_back({from, to, world(a.position), world(b.position)});
        lengths.push_back((m_segments.back().b - m_segments.back().a).norm());
    });
    if (m_segments.empty())
        return;

    double total = 0.0;
    for (double length : lengths)
        total += length;
    m_step = std::max(GraphUtils::computeMedian(lengths), total / (4.0 * static_cast<double>(lengths.size())));
    if (!(m_step > 0.0) || !std::isfinite(m_step))
        m_step = 1.0;

    std::vector<Eigen::Vector3d> samples;
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        const double length = std::isfinite(lengths[i]) ? lengths[i] : 0.0;
        const int pieces = std::max(1, static_cast<int>(std::ceil(length / m_step)));
        for (int k = 0; k <= pieces; ++k) {
            samples.push_back(m_segments[i].a + (m_segments[i].b - m_segments[i].a) * (double(k) / pieces));
            m_sampleEdge.push_back(static_cast<int>(i));
        }
    }
    m_samples.buildIndex(samples);
}

std::optional<NearestEdgeSearch::Hit> NearestEdgeSearch::nearest(const Eigen::Vector3d& worldPoint) const {
    if (m_segments.empty())
        return std::nullopt;
    std::vector<std::size_t> indices;
    std::vector<double> distances;
    if (m_samples.findNearestNeighbors(worldPoint, 1, indices, distances) == 0)
        return std::nullopt;
    m_samples.findNearestNeighborsRadius(worldPoint, distances.front() + 0.5 * m_step, indices, distances);

    // An edge with several samples among the candidates is measured again each time; a repeat can never
    // beat the best so far, and this keeps the query free of per-call bookkeeping.
    std::optional<Hit> best;
    for (std::size_t sample : indices) {
        const int edge = m_sampleEdge[sample];
        const Segment& segment = m_segments[static_cast<std::size_t>(edge)];
        const Eigen::Vector3d direction = segment.b - segment.a;
        const double length2 = direction.squaredNorm();
        const double t = length2 > 0.0 ? std::clamp((worldPoint - segment.a).dot(direction) / length2, 0.0, 1.0) : 0.0;
        const double distance = (worldPoint - (segment.a + t * direction)).norm();
        if (!best || distance < best->distance)
            best = Hit{segment.from, segment.to, distance, t, edge};
    }
    return best;
}

} // namespace Tarnwick
