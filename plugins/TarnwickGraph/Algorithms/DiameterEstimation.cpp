// Diameter estimation by ray casting in a label image, around the midpoint of each edge and in the plane
// normal to it. Coordinates: a graph point q maps to the pixel coordinate toPixel * (q, 1) with
// toPixel = worldToPixel(image) * matrixToWorld(graph); a sample reads the voxel whose indices are the
// pixel coordinates truncated toward zero. Per edge, the basis of the normal plane is mapped to pixel
// space once, so each sample costs one multiply-add of 3-vectors and one voxel read; nothing is allocated
// per edge.
//
// Cost per edge: the plain method samples about (3 pi / 2) (R / step)^2 points for a structure of radius
// R (rings of at least 20 rays up to R, plus 5 bisection samples); the vessel method at most 36 R / step.
// Zero-edge filling is a ring-wise breadth-first search per zero edge.
#include <TarnwickGraph/Algorithms/DiameterEstimation.h>

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <TarnwickCore/Log.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Tarnwick::DiameterEstimation {

namespace {

constexpr double twoPi = 6.283185307179586;
constexpr double threePi = 9.42477796076938;
constexpr double sqrt3 = 1.7320508075688772;
constexpr int plainMinRayCount = 20;
constexpr int plainBisectionSteps = 5;
constexpr double maxRaySteps = 1e5;

enum class Sample { Outside, Inside, Background };

/// Reads channel 0 of a label image at pixel coordinates and classifies the voxel against the threshold.
template <typename T>
class LabelSampler {
public:
    LabelSampler(const Graph& graph, const SharedImage& labels, double threshold)
        : m_values(labels.typed<T>()->pointer()), m_threshold(threshold) {
        const ImageDescriptor& descriptor = labels.descriptor();
        const Eigen::Matrix4d toPixel = labels.worldToPixelMatrix() * graph.matrixToWorld();
        m_linear = toPixel.topLeftCorner<3, 3>();
        m_offset = toPixel.topRightCorner<3, 1>();
        m_upper = descriptor.dimensions.cast<double>();
        m_stride = {static_cast<std::size_t>(descriptor.channels),
                    static_cast<std::size_t>(descriptor.channels) * descriptor.dimensions.x(),
                    static_cast<std::size_t>(descriptor.channels) * descriptor.dimensions.x() *
                        descriptor.dimensions.y()};
    }

    Eigen::Vector3d toPixel(const Eigen::Vector3d& point) const { return m_linear * point + m_offset; }
    Eigen::Vector3d toPixelDirection(const Eigen::Vector3d& direction) const { return m_linear * direction; }

    /// Truncation toward zero keeps coordinates in (-1, n) inside; the test is made on the doubles so that
    /// huge or NaN coordinates are never converted to int.
    Sample at(const Eigen::Vector3d& pixel) const {
        for (int axis = 0; axis < 3; ++axis)
            if (!(pixel[axis] > -1.0 && pixel[axis] < m_upper[axis]))
                return Sample::Outside;
        const std::size_t index = static_cast<std::size_t>(static_cast<int>(pixel.x())) * m_stride[0] +
                                  static_cast<std::size_t>(static_cast<int>(pixel.y())) * m_stride[1] +
                                  static_cast<std::size_t>(static_cast<int>(pixel.z())) * m_stride[2];
        return static_cast<double>(m_values[index]) > m_threshold ? Sample::Inside : Sample::Background;
    }

private:
    const T* m_values;
    double m_threshold;
    Eigen::Matrix3d m_linear;
    Eigen::Vector3d m_offset;
    Eigen::Vector3d m_upper;
    std::array<std::size_t, 3> m_stride;
};

/// The rays of one edge in pixel space: centre + r * offset(cos a, sin a) is the pixel coordinate of the
/// graph point midpoint + r * (cos a * u + sin a * w), with (u, w) the basis of the plane normal to the edge.
struct EdgeRays {
    Eigen::Vector3d centre;
    Eigen::Vector3d u;
    Eigen::Vector3d w;

    Eigen::Vector3d offset(double cosine, double sine) const { return cosine * u + sine * w; }
};

Eigen::Vector3d normalizedIfNonZero(const Eigen::Vector3d& v) {
    const double squared = v.squaredNorm();
    return squared > 0.0 ? Eigen::Vector3d(v / std::sqrt(squared)) : v;
}

/// Basis of the plane normal to the edge a -> b. A zero-length edge has d = 0, and then u = w = 0: every
/// ray samples the midpoint itself.
template <typename T>
EdgeRays edgeRays(const LabelSampler<T>& sampler, const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
    const Eigen::Vector3d d = normalizedIfNonZero(b - a);
    const Eigen::Vector3d u = normalizedIfNonZero(std::abs(d.x()) > 0.1 ? Eigen::Vector3d(d.z(), 0.0, -d.x())
                                                                        : Eigen::Vector3d(0.0, -d.z(), d.y()));
    const Eigen::Vector3d w = normalizedIfNonZero(d.cross(u));
    return {sampler.toPixel((a + b) * 0.5), sampler.toPixelDirection(u), sampler.toPixelDirection(w)};
}

/// Ray step (smallest spacing) and largest ray length (sqrt(3) times the largest extent).
struct RayRange {
    double step;
    double maxRadius;
};

RayRange rayRange(const SharedImage& labels) {
    const ImageDescriptor& descriptor = labels.descriptor();
    return {descriptor.spacing.minCoeff(), descriptor.extent().maxCoeff() * sqrt3};
}

/// Refuses (with an error) images whose smallest spacing is so fine against their extent that a ray could
/// take more than maxRaySteps steps; the plain method's work per edge grows with the square of that count.
bool withinRayStepLimit(const RayRange& range) {
    if (range.maxRadius / range.step <= maxRaySteps)
        return true;
    TW_LOG_ERROR("Cannot measure diameters: rays of step {} would need up to {:.0f} steps to cross the label "
                 "image; at most {:.0f} are allowed.",
                 range.step, range.maxRadius / range.step, maxRaySteps);
    return false;
}

template <typename T>
double plainRadius(const LabelSampler<T>& sampler, const EdgeRays& rays, const RayRange& range) {
    if (!(range.maxRadius > range.step))
        return 0.0;
    double lo = 0.0;
    double r = range.step;
    while (true) {
        const auto count =
            std::max<std::int64_t>(plainMinRayCount, static_cast<std::int64_t>(std::floor(threePi * r / range.step)));
        for (std::int64_t i = 0; i < count; ++i) {
            const double angle = static_cast<double>(i) * twoPi / static_cast<double>(count);
            const Eigen::Vector3d offset = rays.offset(std::cos(angle), std::sin(angle));
            const Sample sample = sampler.at(rays.centre + r * offset);
            if (sample == Sample::Outside)
                return lo;
            if (sample == Sample::Background) {
                // Bisect the failing ray between the last all-inside ring and this one. A point outside
                // the image counts as background here.
                double hi = r;
                for (int step = 0; step < plainBisectionSteps; ++step) {
                    const double mid = (lo + hi) * 0.5;
                    if (sampler.at(rays.centre + mid * offset) == Sample::Inside)
                        lo = mid;
                    else
                        hi = mid;
                }
                return lo;
            }
        }
        lo = r;
        r += range.step;
        if (!(range.maxRadius > r))
            return lo;
    }
}

/// cos and sin of the vessel method's ray angles i * 2 pi / 36.
struct VesselDirections {
    std::array<double, vesselRayCount> cosine;
    std::array<double, vesselRayCount> sine;

    VesselDirections() {
        for (int i = 0; i < vesselRayCount; ++i) {
            const double angle = static_cast<double>(i) * twoPi / vesselRayCount;
            cosine[i] = std::cos(angle);
            sine[i] = std::sin(angle);
        }
    }
};

/// Mean of the ray lengths after cutting a fixed 5 % of the shortest and, of the longest, a share that grows
/// with their relative spread from 5 % up to 60 %.
double trimmedMeanRadius(std::array<double, vesselRayCount>& radii) {
    const auto keptEnd = std::partition(radii.begin(), radii.end(), [](double radius) { return radius > 0.0; });
    const auto n = static_cast<std::size_t>(keptEnd - radii.begin());
    if (n == 0)
        return 0.0;
    std::sort(radii.begin(), keptEnd);
    const double smallest = radii[0];
    const double largest = radii[n - 1];
    const double spread = (largest - smallest) / (largest + vesselSpreadGuard);
    double upperTrim = vesselUpperTrimCeiling - vesselUpperTrimBase;
    if (spread <= 1.0)
        upperTrim *= spread;
    const auto lowCut = static_cast<std::size_t>(std::floor(vesselLowerTrim * static_cast<double>(n)));
    const auto highCut =
        static_cast<std::size_t>(std::floor((vesselUpperTrimBase + upperTrim) * static_cast<double>(n)));
    const std::size_t end = n - std::min(highCut, n);
    const std::size_t first = lowCut < end ? lowCut : 0;
    const std::size_t last = lowCut < end ? end : n;
    double sum = 0.0;
    for (std::size_t i = first; i < last; ++i)
        sum += radii[i];
    return sum / static_cast<double>(last - first);
}

template <typename T>
double vesselRadius(const LabelSampler<T>& sampler, const EdgeRays& rays, const RayRange& range,
                    const VesselDirections& directions) {
    std::array<double, vesselRayCount> radii{};
    std::array<bool, vesselRayCount> live;
    live.fill(true);
    int liveCount = vesselRayCount;
    for (double r = range.step; r < range.maxRadius && liveCount >= vesselMinLiveRays; r += range.step) {
        for (int i = 0; i < vesselRayCount; ++i) {
            if (!live[i])
                continue;
            const Sample sample = sampler.at(rays.centre + r * rays.offset(directions.cosine[i], directions.sine[i]));
            if (sample == Sample::Inside) {
                radii[i] = r;
            } else {
                live[i] = false; // a ray leaving the image keeps its last radius, like one leaving the structure
                --liveCount;
            }
        }
    }
    return trimmedMeanRadius(radii);
}

/// Writes 2 * radius(edge rays) into "diameter" for every edge; returns its index.
template <typename T, typename RadiusFn>
int measureEdges(Graph& graph, const LabelSampler<T>& sampler, RadiusFn&& radius) {
    const int diameterIdx = graph.getOrCreateEdgeFeatureIdx("diameter", 0.0);
    const auto column = static_cast<std::size_t>(diameterIdx);
    graph.editEachEdge([&](Graph::EdgeInfo& edge, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        const double r = radius(edgeRays(sampler, a.position, b.position));
        edge.features[column] = r + r;
    });
    return diameterIdx;
}

/// Ring-wise search state shared by the zero-edge filling, with reusable buffers.
class NeighborAverageSearch {
public:
    explicit NeighborAverageSearch(const Graph& graph) : m_graph(graph) {}

    /// See computeNeighborAverageDiameter; `frontier` is sorted ascending and consumed. exhausted is set
    /// when the search ran out of nodes without finding a value.
    double run(std::vector<unsigned long> frontier, std::unordered_set<unsigned long>& visited, bool& exhausted) {
        exhausted = false;
        std::map<unsigned long, const Graph::EdgeInfo*> ring;
        while (!frontier.empty()) {
            visited.insert(frontier.begin(), frontier.end());
            ring.clear();
            for (unsigned long node : frontier)
                for (const auto& [neighbor, edge] : m_graph.neighborhood(node))
                    ring.emplace(neighbor, edge ? &*edge : nullptr); // the first frontier node's entry wins
            double sum = 0.0;
            std::size_t count = 0;
            frontier.clear();
            for (const auto& [neighbor, edge] : ring) {
                if (edge && !edge->features.empty() && edge->features[0] > 0.0) {
                    sum += edge->features[0];
                    ++count;
                }
                if (visited.count(neighbor) == 0)
                    frontier.push_back(neighbor); // ascending, as the ring is ordered
            }
            if (count > 0)
                return sum / static_cast<double>(count);
        }
        exhausted = true;
        return 0.0;
    }

private:
    const Graph& m_graph;
};

} // namespace

double computeNeighborAverageDiameter(const Graph& graph, const std::unordered_set<unsigned long>& frontier,
                                      std::unordered_set<unsigned long>& visited) {
    std::vector<unsigned long> sorted(frontier.begin(), frontier.end());
    std::sort(sorted.begin(), sorted.end());
    bool exhausted = false;
    return NeighborAverageSearch(graph).run(std::move(sorted), visited, exhausted);
}

void fillZeroEdgesWithNeighborAverage(Graph& graph, int featureIndex) {
    if (featureIndex < 0 || static_cast<std::size_t>(featureIndex) >= graph.edgeFeatureDescriptors().size())
        return;
    const auto column = static_cast<std::size_t>(featureIndex);
    NeighborAverageSearch search(graph);
    // Nodes of components known to hold no positive first feature. Filling only ever writes 0 there, so
    // they stay that way for the rest of the pass.
    std::unordered_set<unsigned long> barren;
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long a, unsigned long b) {
        if (edge.features[column] != 0.0 || barren.count(a) != 0)
            return;
        // A fresh set per search: clearing one that once held a whole component would cost its bucket count.
        std::unordered_set<unsigned long> visited;
        bool exhausted = false;
        std::vector<unsigned long> frontier{std::min(a, b)};
        if (a != b)
            frontier.push_back(std::max(a, b));
        edge.features[column] = search.run(std::move(frontier), visited, exhausted);
        if (exhausted)
            barren.insert(visited.begin(), visited.end());
    });
}

template <typename T>
int computeDiametersImpl(Graph& graph, const SharedImage& labels, bool averageZeroEdges, double threshold) {
    const RayRange range = rayRange(labels);
    if (!labels.typed<T>() || !withinRayStepLimit(range))
        return -1;
    const LabelSampler<T> sampler(graph, labels, threshold);
    const int diameterIdx =
        measureEdges(graph, sampler, [&](const EdgeRays& rays) { return plainRadius(sampler, rays, range); });
    if (averageZeroEdges)
        fillZeroEdgesWithNeighborAverage(graph, diameterIdx);
    return diameterIdx;
}

template <typename T>
int computeVesselDiametersImpl(Graph& graph, const SharedImage& labels, bool clampEdges,
                               std::optional<int> slidingAverage, bool fillZeroEdges, double threshold) {
    const RayRange range = rayRange(labels);
    if (!labels.typed<T>() || !withinRayStepLimit(range))
        return -1;
    const LabelSampler<T> sampler(graph, labels, threshold);
    const VesselDirections directions;
    const int diameterIdx = measureEdges(
        graph, sampler, [&](const EdgeRays& rays) { return vesselRadius(sampler, rays, range, directions); });
    if (fillZeroEdges)
        fillZeroEdgesWithNeighborAverage(graph, diameterIdx);
    GraphUtils::clampAndSmoothEdgeFeature(graph, diameterIdx, clampEdges, slidingAverage, vesselSmoothingFactor);
    return diameterIdx;
}

template int computeDiametersImpl<unsigned char>(Graph&, const SharedImage&, bool, double);
template int computeDiametersImpl<unsigned short>(Graph&, const SharedImage&, bool, double);
template int computeDiametersImpl<float>(Graph&, const SharedImage&, bool, double);
template int computeVesselDiametersImpl<unsigned char>(Graph&, const SharedImage&, bool, std::optional<int>, bool,
                                                       double);
template int computeVesselDiametersImpl<unsigned short>(Graph&, const SharedImage&, bool, std::optional<int>, bool,
                                                        double);
template int computeVesselDiametersImpl<float>(Graph&, const SharedImage&, bool, std::optional<int>, bool, double);

int computeDiameters(Graph& graph, const SharedImage& labels, bool averageZeroEdges, double threshold) {
    switch (labels.descriptor().pixelType) {
    case PixelType::UInt8:
        return computeDiametersImpl<unsigned char>(graph, labels, averageZeroEdges, threshold);
    case PixelType::UInt16:
        return computeDiametersImpl<unsigned short>(graph, labels, averageZeroEdges, threshold);
    case PixelType::Float:
        return computeDiametersImpl<float>(graph, labels, averageZeroEdges, threshold);
    default:
        return -1;
    }
}

int computeVesselDiameters(Graph& graph, const SharedImage& labels, bool clampEdges, std::optional<int> slidingAverage,
                           bool fillZeroEdges, double threshold) {
    switch (labels.descriptor().pixelType) {
    case PixelType::UInt8:
        return computeVesselDiametersImpl<unsigned char>(graph, labels, clampEdges, slidingAverage, fillZeroEdges,
                                                         threshold);
    case PixelType::UInt16:
        return computeVesselDiametersImpl<unsigned short>(graph, labels, clampEdges, slidingAverage, fillZeroEdges,
                                                          threshold);
    case PixelType::Float:
        return computeVesselDiametersImpl<float>(graph, labels, clampEdges, slidingAverage, fillZeroEdges, threshold);
    default:
        return -1;
    }
}

} // namespace Tarnwick::DiameterEstimation
