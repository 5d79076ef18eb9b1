// Graph feature to mesh transfer: one exact nearest-edge query per vertex (k-d tree over edge samples,
// then point-to-segment distances), in parallel over the vertices; O(V log S + S log S) time for V
// vertices and S <= 6 E edge samples, O(S + V) memory.

#include <TarnwickGraph/Algorithms/TransferGraphFeatureToMeshAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/NearestEdgeSearch.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Data/Mesh.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace Tarnwick {

TransferGraphFeatureToMeshAlgorithm::TransferGraphFeatureToMeshAlgorithm(const Graph& graph, Mesh& mesh)
    : m_graph(graph), m_mesh(mesh) {
    featureType.setAttribute("values", "Edge,Node");
    maxDistance.setAttribute("min", "0.0");
    maxDistance.setAttribute("tooltip", "Vertices farther than this (in mm) from every edge get the no-value colour.");
}

bool TransferGraphFeatureToMeshAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    const auto meshes = data.getAll<Mesh>();
    if (data.size() != 2 || graphs.size() != 1 || meshes.size() != 1)
        return false;
    if (out)
        *out = new TransferGraphFeatureToMeshAlgorithm(*graphs.front(), *meshes.front());
    return true;
}

Eigen::Vector3f TransferGraphFeatureToMeshAlgorithm::rampColor(double f) {
    static const std::array<Eigen::Vector3f, 5> stops = {Eigen::Vector3f(0, 0, 1), Eigen::Vector3f(0, 1, 1),
                                                         Eigen::Vector3f(0, 1, 0), Eigen::Vector3f(1, 1, 0),
                                                         Eigen::Vector3f(1, 0, 0)};
    const double x = std::isnan(f) ? 0.5 : std::clamp(f, 0.0, 1.0);
    const double scaled = x * (stops.size() - 1);
    const auto lower = std::min(static_cast<std::size_t>(scaled), stops.size() - 2);
    const auto weight = static_cast<float>(scaled - static_cast<double>(lower));
    return stops[lower] * (1.0f - weight) + stops[lower + 1] * weight;
}

void TransferGraphFeatureToMeshAlgorithm::compute() {
    const bool onEdges = featureType == Edge;
    const std::optional<int> column =
        onEdges ? m_graph.getEdgeFeatureIdx(featureName) : m_graph.getNodeFeatureIdx(featureName);
    if (!column) {
        TW_LOG_ERROR("Graph has no {} feature '{}'.", onEdges ? "edge" : "node", featureName.value());
        setStatus(InvalidInput);
        return;
    }
    if (m_graph.numEdges() == 0) {
        TW_LOG_ERROR("The graph has no edges.");
        setStatus(InvalidInput);
        return;
    }
    const auto k = static_cast<std::size_t>(*column);

    // The value at the closest point of each edge is a + t (b - a): per edge, a and b.
    std::vector<std::pair<double, double>> edgeValues;
    double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
    const auto extend = [&](double v) {
        if (std::isfinite(v)) {
            lowest = std::min(lowest, v);
            highest = std::max(highest, v);
        }
    };
    m_graph.forEachEdge([&](const Graph::EdgeInfo& edge, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        if (onEdges)
            edgeValues.emplace_back(edge.features[k], edge.features[k]);
        else
            edgeValues.emplace_back(a.features[k], b.features[k]);
        extend(edgeValues.back().first);
        extend(edgeValues.back().second);
    });

    const NearestEdgeSearch search(m_graph);
    const Eigen::Matrix4d meshToWorld = m_mesh.matrixToWorld();
    const double limit = maxDistance.value().value_or(std::numeric_limits<double>::infinity());
    const int count = m_mesh.numberOfVertices();
    std::vector<float> scalars(static_cast<std::size_t>(count), std::numeric_limits<float>::quiet_NaN());
#pragma omp parallel for schedule(dynamic, 1024)
    for (int i = 0; i < count; ++i) {
        const Eigen::Vector3d world = (meshToWorld * m_mesh.vertex(i).homogeneous()).head<3>();
        const std::optional<NearestEdgeSearch::Hit> hit = search.nearest(world);
        if (!hit || !(hit->distance <= limit))
            continue;
        const auto& [a, b] = edgeValues[static_cast<std::size_t>(hit->edgeIndex)];
        scalars[static_cast<std::size_t>(i)] = static_cast<float>(a + hit->t * (b - a));
    }

    const Eigen::Vector4d& none = noValueColor.value();
    const double range = highest - lowest;
    for (int i = 0; i < count; ++i) {
        const float value = scalars[static_cast<std::size_t>(i)];
        if (std::isnan(value)) {
            m_mesh.setVertexColor(i, none.head<3>().cast<float>(), static_cast<float>(none[3]));
            continue;
        }
        const double fraction = range > 0.0 ? (value - lowest) / range : 0.5;
        m_mesh.setVertexColor(i, rampColor(fraction), 1.0f);
    }
    if (count > 0)
        m_mesh.setVertexScalars(featureName, std::move(scalars));
    setStatus(Success);
}

} // namespace Tarnwick
