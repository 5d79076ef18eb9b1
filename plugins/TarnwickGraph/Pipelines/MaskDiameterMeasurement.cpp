// Vessel diameters as equivalent-area radii of ray-sampled cross-sections of the mask's voxel cells (see
// the header for why cells rather than voxel centres). Cost: per edge, 32 rays of about
// 4 x radius / voxel samples plus 5 bisection samples each; edges are measured in parallel.
#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/DiameterEstimation.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/Pipelines/CellMask.h>
#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

constexpr int rayCount = 32;
constexpr double stepsPerVoxel = 4.0;
constexpr int bisections = 5;
/// Rays longer than clipFactor x the median ray + half a voxel have left the vessel's own cross-section.
constexpr double clipFactor = 1.5;
/// Edges walked along the segment either way for the local vessel direction.
constexpr int tangentReach = 3;
constexpr double pi = 3.14159265358979323846;

/// One measurement: the start point in pixel coordinates and the ray directions in pixels per millimetre.
struct CrossSection {
    Eigen::Vector3d centre;
    std::vector<Eigen::Vector3d> rays;
};

/// Radius (millimetres) of the cross-section: see the header. stepMm: the march step; voxelMm: the
/// smallest spacing; maxMm: the longest ray.
double measure(const CellMask& mask, const CrossSection& section, double stepMm, double voxelMm, double maxMm) {
    if (!mask.inside(section.centre))
        return 0.0;
    const std::size_t n = section.rays.size();
    // The clip length follows the median ray, or the shorter one of a planar section's two.
    const std::size_t clipRank = n > 2 ? n / 2 : 0;
    std::vector<double> rho(n, maxMm);
    std::vector<bool> live(n, true);
    std::size_t dead = 0;
    double limit = maxMm;
    bool clipped = false;
    for (int k = 1; k * stepMm < limit && dead < n; ++k) {
        const double t = k * stepMm;
        for (std::size_t i = 0; i < n; ++i) {
            if (!live[i] || mask.inside(section.centre + t * section.rays[i]))
                continue;
            double lo = t - stepMm, hi = t; // inside at lo, outside at hi
            for (int b = 0; b < bisections; ++b) {
                const double middle = 0.5 * (lo + hi);
                (mask.inside(section.centre + middle * section.rays[i]) ? lo : hi) = middle;
            }
            rho[i] = 0.5 * (lo + hi);
            live[i] = false;
            ++dead;
        }
        // Rays end in order of length: once more than clipRank have ended, the clip length is known.
        if (!clipped && dead > clipRank) {
            std::vector<double> ended;
            for (std::size_t i = 0; i < n; ++i)
                if (!live[i])
                    ended.push_back(rho[i]);
            std::nth_element(ended.begin(), ended.begin() + clipRank, ended.end());
            limit = std::min(maxMm, std::max(t, clipFactor * ended[clipRank] + 0.5 * voxelMm));
            clipped = true;
        }
    }
    if (n == 2) // a planar cross-section: half its width
        return 0.5 * (std::min(rho[0], limit) + std::min(rho[1], limit));
    double sum = 0.0;
    for (double r : rho)
        sum += std::min(r, limit) * std::min(r, limit);
    return std::sqrt(sum / static_cast<double>(n));
}

/// The node `reach` edges beyond `from` along its segment, walking away from `previous` through nodes
/// of two neighbours.
unsigned long walk(const Graph& graph, unsigned long previous, unsigned long from, int reach) {
    for (int step = 0; step < reach; ++step) {
        const Graph::Neighborhood& neighbours = graph.neighborhood(from);
        if (neighbours.size() != 2)
            break;
        const unsigned long next =
            neighbours.begin()->first == previous ? std::next(neighbours.begin())->first : neighbours.begin()->first;
        if (next == from)
            break;
        previous = from;
        from = next;
    }
    return from;
}

} // namespace

bool measureVesselDiameters(Graph& graph, const SharedImage& mask) {
    const ImageDescriptor& descriptor = mask.descriptor();
    if (descriptor.pixelType != PixelType::UInt8 || descriptor.channels != 1) {
        TW_LOG_ERROR("Vessel diameters are measured in a single-channel unsigned 8-bit mask");
        return false;
    }
    const bool planar = descriptor.dimensions.z() == 1;
    const double voxelMm = planar ? descriptor.spacing.head<2>().minCoeff() : descriptor.spacing.minCoeff();
    const double stepMm = voxelMm / stepsPerVoxel;
    const double maxMm = descriptor.extent().maxCoeff() * std::sqrt(3.0);
    const Eigen::Matrix4d graphToWorld = graph.matrixToWorld();
    const Eigen::Matrix4d toPixel = mask.worldToPixelMatrix() * graphToWorld;
    const Eigen::Matrix3d worldToPixel = mask.worldToPixelMatrix().topLeftCorner<3, 3>();
    const Eigen::Vector3d planeNormal = mask.matrixToWorld().topLeftCorner<3, 3>().col(2).normalized();

    std::unordered_map<unsigned long, Eigen::Vector3d> positions; // graph coordinates
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { positions.emplace(id, node.position); });
    std::vector<CrossSection> sections;
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long a, unsigned long b) {
        const Eigen::Vector3d middle = 0.5 * (positions.at(a) + positions.at(b));
        const Eigen::Vector3d chord =
            positions.at(walk(graph, a, b, tangentReach)) - positions.at(walk(graph, b, a, tangentReach));
        Eigen::Vector3d tangent = graphToWorld.topLeftCorner<3, 3>() * chord;
        tangent = tangent.squaredNorm() > 0.0 ? tangent.normalized() : Eigen::Vector3d::UnitX();
        CrossSection section;
        section.centre = toPixel.topLeftCorner<3, 3>() * middle + toPixel.topRightCorner<3, 1>();
        if (planar) {
            Eigen::Vector3d across = tangent.cross(planeNormal);
            across = across.squaredNorm() > 0.0 ? across.normalized() : Eigen::Vector3d::UnitX();
            section.rays = {worldToPixel * across, worldToPixel * -across};
        } else {
            const Eigen::Vector3d u = tangent.unitOrthogonal(), w = tangent.cross(u);
            for (int i = 0; i < rayCount; ++i) {
                const double angle = 2.0 * pi * i / rayCount;
                section.rays.push_back(worldToPixel * (std::cos(angle) * u + std::sin(angle) * w));
            }
        }
        sections.push_back(std::move(section));
    });

    const CellMask cells(mask);
    std::vector<double> radii(sections.size());
#pragma omp parallel for schedule(dynamic, 256)
    for (long long e = 0; e < static_cast<long long>(sections.size()); ++e)
        radii[e] = measure(cells, sections[e], stepMm, voxelMm, maxMm);

    const int column = graph.getOrCreateEdgeFeatureIdx("diameter", 0.0);
    std::size_t next = 0;
    graph.editEachEdge(
        [&](Graph::EdgeInfo& edge, unsigned long, unsigned long) { edge.features[column] = 2.0 * radii[next++]; });
    DiameterEstimation::fillZeroEdgesWithNeighborAverage(graph, column);
    if (!GraphUtils::clampAndSmoothEdgeFeature(graph, column, true, 3, DiameterEstimation::vesselSmoothingFactor)) {
        TW_LOG_ERROR("Measuring the vessel diameters failed");
        return false;
    }
    return true;
}

} // namespace Tarnwick
