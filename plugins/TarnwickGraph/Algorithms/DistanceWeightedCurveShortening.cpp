// Distance-weighted curve shortening: an explicit flow of the node positions (velocity in the header)
// integrated by the adaptive Bogacki-Shampine 5(4) pair. Each evaluation costs five trilinear lookups
// per chain node and runs in parallel over the nodes; the number of evaluations is set by the step-size
// control (seven per step), typically a few hundred for the end time 100.

#include <TarnwickGraph/Algorithms/DistanceWeightedCurveShortening.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/BogackiShampineIntegrator.h>
#include <TarnwickGraph/Algorithms/CenterlineResampling.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphMatrixUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>

#include <Eigen/Geometry>

#include <cmath>
#include <vector>

namespace Tarnwick::DistanceWeightedCurveShortening {

namespace {

constexpr const char* logCategory = "GraphSmoothingAlgorithm.compute";
constexpr int ringSamples = 5;

/// How a node moves: chain nodes by curvature and pull, free leaves by the pull only, others not.
struct NodeRole {
    enum Kind { Fixed, Chain, Tip } kind = Fixed;
    int a = -1; ///< Chain: previous node; Tip: the leaf's neighbour
    int b = -1; ///< Chain: next node
};

std::vector<NodeRole> nodeRoles(const Graph& graph, bool preserveTerminal) {
    const GraphMatrixUtils::SequentialIndex index = GraphMatrixUtils::graphToSequentialIndex(graph);
    std::vector<NodeRole> roles;
    roles.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        std::vector<int> others;
        for (const auto& entry : neighbours)
            if (entry.first != id)
                others.push_back(index.idToIndex.at(entry.first));
        NodeRole role;
        if (others.size() == 2)
            role = {NodeRole::Chain, others[0], others[1]};
        else if (others.size() == 1 && !preserveTerminal)
            role = {NodeRole::Tip, others[0], -1};
        roles.push_back(role);
    });
    return roles;
}

/// The flow's right-hand side over a fixed distance image.
class Velocity {
public:
    Velocity(const Graph& graph, const TypedImage<float>& distance, const Eigen::Matrix4d& graphToPixel,
             double ringRadius, bool preserveTerminal, const Settings& settings)
        : m_roles(nodeRoles(graph, preserveTerminal)), m_distance(distance),
          m_linear(graphToPixel.topLeftCorner<3, 3>()), m_offset(graphToPixel.topRightCorner<3, 1>()),
          m_radius(ringRadius), m_planar(graph.dimension() == Graph::Dim2D), m_settings(settings) {
        for (int k = 0; k < ringSamples; ++k) {
            const double angle = 2.0 * M_PI * k / ringSamples;
            m_ring[k] = {std::cos(angle), std::sin(angle)};
        }
    }

    void operator()(double, const Eigen::MatrixX3d& x, Eigen::MatrixX3d& dxdt) const {
        const auto n = static_cast<long>(m_roles.size());
#pragma omp parallel for schedule(static) if (n > 2048)
        for (long i = 0; i < n; ++i) {
            const NodeRole& role = m_roles[static_cast<std::size_t>(i)];
            const Eigen::Vector3d p = x.row(i).transpose();
            Eigen::Vector3d v = Eigen::Vector3d::Zero();
            if (role.kind == NodeRole::Chain) {
                const Eigen::Vector3d prev = x.row(role.a).transpose();
                const Eigen::Vector3d next = x.row(role.b).transpose();
                v = m_settings.curvatureGain * 0.5 * (prev + next - 2.0 * p) + pull(p, next - prev);
            } else if (role.kind == NodeRole::Tip) {
                v = pull(p, p - x.row(role.a).transpose());
            }
            dxdt.row(i) = v.transpose();
        }
    }

private:
    /// Estimated gradient of the distance perpendicular to `tangent`, times pullGain.
    Eigen::Vector3d pull(const Eigen::Vector3d& p, const Eigen::Vector3d& tangent) const {
        const Eigen::Vector3d along = m_planar ? Eigen::Vector3d(tangent.x(), tangent.y(), 0.0) : tangent;
        const double length = along.norm();
        if (!(length > 0.0))
            return Eigen::Vector3d::Zero();
        const Eigen::Vector3d t = along / length;
        if (m_planar) {
            // In the plane the ring degenerates to the two points beside the curve: a central difference.
            const Eigen::Vector3d normal(-t.y(), t.x(), 0.0);
            const double difference = sample(p + m_radius * normal) - sample(p - m_radius * normal);
            return m_settings.pullGain * difference / (2.0 * m_radius) * normal;
        }
        const Eigen::Vector3d reference = std::abs(t.x()) > 0.9 ? Eigen::Vector3d::UnitY() : Eigen::Vector3d::UnitX();
        const Eigen::Vector3d u = t.cross(reference).normalized();
        const Eigen::Vector3d w = t.cross(u);
        Eigen::Vector3d gradient = Eigen::Vector3d::Zero();
        for (const Eigen::Vector2d& ring : m_ring) {
            const Eigen::Vector3d direction = ring.x() * u + ring.y() * w;
            gradient += sample(p + m_radius * direction) * direction;
        }
        return m_settings.pullGain * 2.0 / (ringSamples * m_radius) * gradient;
    }

    double sample(const Eigen::Vector3d& p) const {
        return m_distance.interpolatedValue(m_linear * p + m_offset);
    }

    std::vector<NodeRole> m_roles;
    const TypedImage<float>& m_distance;
    Eigen::Matrix3d m_linear;
    Eigen::Vector3d m_offset;
    double m_radius;
    bool m_planar; ///< a 2-D graph moves in its plane only
    Settings m_settings;
    Eigen::Vector2d m_ring[ringSamples];
};

} // namespace

bool evolve(Graph& graph, const SharedImage& distance, bool preserveTerminal, const Settings& settings) {
    const TypedImage<float>* values = distance.typed<float>();
    if (!values) {
        TW_LOG_CAT_ERROR(logCategory, "The distance image must be of type float.");
        return false;
    }
    const Eigen::Matrix4d graphToPixel = distance.worldToPixelMatrix() * graph.matrixToWorld();
    const ImageDescriptor& grid = distance.descriptor();
    const double ringRadius = grid.is2D() ? grid.spacing.head<2>().minCoeff() : grid.spacing.minCoeff();
    const Velocity velocity(graph, *values, graphToPixel, ringRadius, preserveTerminal, settings);

    Eigen::MatrixX3d positions = GraphMatrixUtils::nodePositions(graph);
    const BogackiShampineIntegrator::Outcome outcome = BogackiShampineIntegrator::integrate(
        [&](double t, const Eigen::MatrixX3d& x, Eigen::MatrixX3d& dxdt) { velocity(t, x, dxdt); }, 0.0,
        settings.endTime, positions);
    TW_LOG(Log::Debug, logCategory, "Curve shortening: {} steps, {} rejected.", outcome.acceptedSteps,
           outcome.rejectedSteps);
    if (!outcome.reachedEnd) {
        TW_LOG_CAT_ERROR(logCategory, "Curve shortening stopped at time {:.3g} of {:.3g} ({} steps, {} rejected).",
                         outcome.time, settings.endTime, outcome.acceptedSteps, outcome.rejectedSteps);
        return false;
    }
    return GraphMatrixUtils::setNodePositions(graph, positions);
}

std::unique_ptr<SharedImage> distanceImage(const SharedImage& labelImage) {
    const std::unique_ptr<SharedImageSet> mask = CenterlineResampling::resampleLabelMap(labelImage);
    if (!mask)
        return nullptr;
    return DistanceTransform::computeChamfer(*mask->get(0), true, true, false);
}

} // namespace Tarnwick::DistanceWeightedCurveShortening
