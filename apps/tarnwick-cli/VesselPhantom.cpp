// Synthetic vessel trees for tests, benchmarks and the bundled sample. Growth is a random walk with a
// bounded turn per step and a clearance test against every finished vessel (O(segments) per step), so
// building is O(steps x segments); rasterising visits each segment's bounding box once.
#include "VesselPhantom.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <map>
#include <stdexcept>
#include <tuple>

namespace Tarnwick {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr int maxDepth = 9;

/// The next number in [0, 1) of a SplitMix64 sequence: the same numbers on every platform and standard library.
double nextUnit(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) / 9007199254740992.0;
}

double distanceToSegment(const Eigen::Vector3d& p, const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
    const Eigen::Vector3d ab = b - a;
    const double lengthSquared = ab.squaredNorm();
    const double t = lengthSquared > 0.0 ? std::clamp((p - a).dot(ab) / lengthSquared, 0.0, 1.0) : 0.0;
    return (a + t * ab - p).norm();
}

/// Cubic Hermite curve from the end of `a` to the end of `b`, leaving along a's last heading and arriving
/// against b's, sampled at most 1.5 voxels apart; its ends are exactly the leaves' last points.
std::vector<Eigen::Vector3d> bridgeCurve(const std::vector<Eigen::Vector3d>& a, const std::vector<Eigen::Vector3d>& b,
                                         double voxel) {
    const Eigen::Vector3d from = a.back(), to = b.back();
    const double distance = (to - from).norm();
    const auto heading = [](const std::vector<Eigen::Vector3d>& points) {
        return points.size() > 1 ? (points.back() - points[points.size() - 2]).normalized() : Eigen::Vector3d::Zero();
    };
    const Eigen::Vector3d leave = heading(a) * distance, arrive = -heading(b) * distance;
    const int steps = std::max(2, static_cast<int>(std::ceil(1.5 * distance / (1.5 * voxel))));
    std::vector<Eigen::Vector3d> curve;
    for (int s = 0; s < steps; ++s) {
        const double t = double(s) / steps, t2 = t * t, t3 = t2 * t;
        curve.push_back((2 * t3 - 3 * t2 + 1) * from + (t3 - 2 * t2 + t) * leave + (-2 * t3 + 3 * t2) * to +
                        (t3 - t2) * arrive);
    }
    curve.push_back(to);
    return curve;
}

} // namespace

VesselPhantom::VesselPhantom(const Options& options) : m_options(options), m_state(options.seed * 2654435761ULL + 1) {
    if (options.size < 16 || options.size > 2048)
        throw std::invalid_argument("The phantom size must be between 16 and 2048 voxels.");
    if (!(options.spacing.array() > 0.0).all() || !options.spacing.allFinite())
        throw std::invalid_argument("The phantom spacing must be positive and finite.");
    if (!(options.minRadiusVoxels > 0.0) || !(options.maxRadiusVoxels >= options.minRadiusVoxels) ||
        options.maxRadiusVoxels * 4 > options.size)
        throw std::invalid_argument("The phantom radii must satisfy 0 < minimum <= maximum <= size / 4.");
    if (!(options.noise >= 0.0 && options.noise <= 0.5))
        throw std::invalid_argument("The phantom noise must be between 0 and 0.5.");
    if (options.bumps < 0 || options.bumps > 1000)
        throw std::invalid_argument("The number of phantom bumps must be between 0 and 1000.");

    Eigen::Vector3d spacing = options.spacing;
    if (options.twoD)
        spacing.z() = 1.0;
    m_descriptor = ImageDescriptor(
        PixelType::UInt8, Eigen::Vector3i(options.size, options.size, options.twoD ? 1 : options.size), 1, spacing);
    // The angles are drawn either way, so that the oblique phantom holds the same tree.
    const double a = uniform(0.3, 0.7), b = options.twoD ? 0.0 : uniform(0.2, 0.5),
                 c = options.twoD ? 0.0 : uniform(0.2, 0.6);
    if (options.oblique) {
        const Eigen::Matrix3d rotation =
            (Eigen::AngleAxisd(a, Eigen::Vector3d::UnitZ()) * Eigen::AngleAxisd(b, Eigen::Vector3d::UnitY()) *
             Eigen::AngleAxisd(c, Eigen::Vector3d::UnitX()))
                .toRotationMatrix();
        m_matrixToWorld.topLeftCorner<3, 3>() = rotation;
        m_matrixToWorld.topRightCorner<3, 1>() = Eigen::Vector3d(37.5, -12.25, options.twoD ? 0.0 : 80.0);
    }

    m_voxel = options.twoD ? spacing.head<2>().maxCoeff() : spacing.maxCoeff();
    const Eigen::Vector3d half = m_descriptor.extent() / 2.0;
    Eigen::Vector3d start(0.0, uniform(-0.2, 0.2) * half.y(), options.twoD ? 0.0 : uniform(-0.2, 0.2) * half.z());
    // The root runs along the longest axis (the first of equals), from near its negative face.
    int axis = 0;
    for (int a = 1; a < (options.twoD ? 2 : 3); ++a)
        if (half[a] > half[axis])
            axis = a;
    start[axis] = -half[axis] + options.maxRadiusVoxels * m_voxel + 2 * m_voxel;
    grow(start, Eigen::Vector3d::Unit(axis), options.maxRadiusVoxels * m_voxel, -1, 0);
    if (options.loops)
        addLoops();
    addBumps();
}

double VesselPhantom::uniform(double low, double high) {
    return low + (high - low) * nextUnit(m_state);
}

bool VesselPhantom::inside(const Eigen::Vector3d& point, double radius) const {
    const Eigen::Vector3d half = m_descriptor.extent() / 2.0;
    for (int axis = 0; axis < (m_options.twoD ? 2 : 3); ++axis)
        if (std::abs(point[axis]) > half[axis] - radius - 3 * m_voxel)
            return false;
    return true;
}

bool VesselPhantom::isClear(const Eigen::Vector3d& point, double radius, int ignoreA, int ignoreB) const {
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        const int vessel = m_segmentVessel[i];
        if (vessel == ignoreA || vessel == ignoreB)
            continue;
        const Segment& segment = m_segments[i];
        if (distanceToSegment(point, segment.a, segment.b) < radius + segment.radius + 3 * m_voxel)
            return false;
    }
    return true;
}

void VesselPhantom::grow(const Eigen::Vector3d& start, const Eigen::Vector3d& direction, double radius, int parent,
                         int depth) {
    const double step = 1.5 * m_voxel;
    const double parentRadius = parent >= 0 ? m_vessels[parent].radius : radius;
    const double wanted = uniform(4.0, 6.0) * radius + 6 * m_voxel;
    // Side branches must outlast pruning (terminal paths shorter than the local radius go); the root stays.
    const double needed = parent >= 0 ? 1.5 * parentRadius + 4 * m_voxel : 0.0;
    // Vessels that share the junction may come close within this distance of it.
    const double junctionZone = 2.0 * (parentRadius + radius) + 4 * m_voxel;

    // The parent's other child, already grown when this is the second one.
    int sibling = -1;
    for (int i = 0; i < static_cast<int>(m_vessels.size()); ++i)
        if (parent >= 0 && m_vessels[i].parent == parent)
            sibling = i;

    Vessel vessel;
    vessel.radius = radius;
    vessel.parent = parent;
    vessel.points.push_back(start);
    Eigen::Vector3d heading = direction.normalized();
    double length = 0.0;
    while (length < wanted) {
        Eigen::Vector3d turn(uniform(-1, 1), uniform(-1, 1), m_options.twoD ? 0.0 : uniform(-1, 1));
        heading = (heading + 0.12 * turn).normalized();
        const Eigen::Vector3d next = vessel.points.back() + step * heading;
        if (!inside(next, radius))
            break;
        const bool nearJunction = (next - start).norm() < junctionZone;
        if (!isClear(next, radius, nearJunction ? parent : -2, nearJunction ? sibling : -2))
            break;
        vessel.points.push_back(next);
        length += step;
    }
    if (length < needed)
        return;

    const int index = static_cast<int>(m_vessels.size());
    for (std::size_t i = 1; i < vessel.points.size(); ++i) {
        m_segments.push_back({vessel.points[i - 1], vessel.points[i], radius});
        m_segmentVessel.push_back(index);
    }
    const Eigen::Vector3d end = vessel.points.back();
    m_vessels.push_back(std::move(vessel));
    if (depth >= maxDepth)
        return;

    // Both children turn about the same axis, to opposite sides, so that they diverge from each other.
    Eigen::Vector3d axis = m_options.twoD
                               ? Eigen::Vector3d::UnitZ()
                               : heading.cross(Eigen::Vector3d(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)));
    if (axis.norm() < 1e-6)
        axis = heading.unitOrthogonal();
    for (int child = 0; child < 2; ++child) {
        const double childRadius = radius * (child == 0 ? uniform(0.7, 0.85) : uniform(0.6, 0.8));
        if (childRadius < m_options.minRadiusVoxels * m_voxel)
            continue;
        const double angle = (child == 0 ? 1.0 : -1.0) * uniform(0.55, 0.85);
        grow(end, Eigen::AngleAxisd(angle, axis.normalized()) * heading, childRadius, index, depth + 1);
    }
}

void VesselPhantom::addLoops() {
    std::vector<int> leaves;
    for (int i = 0; i < static_cast<int>(m_vessels.size()); ++i)
        if (std::none_of(m_vessels.begin(), m_vessels.end(), [&](const Vessel& v) { return v.parent == i; }))
            leaves.push_back(i);

    std::vector<std::pair<double, std::pair<int, int>>> candidates;
    for (std::size_t i = 0; i < leaves.size(); ++i)
        for (std::size_t j = i + 1; j < leaves.size(); ++j) {
            const double distance = (m_vessels[leaves[i]].points.back() - m_vessels[leaves[j]].points.back()).norm();
            if (distance > 8 * m_voxel)
                candidates.push_back({distance, {leaves[i], leaves[j]}});
        }
    std::sort(candidates.begin(), candidates.end());

    std::vector<bool> used(m_vessels.size(), false);
    for (const auto& [distance, pair] : candidates) {
        if (m_loops == 2)
            break;
        const auto [a, b] = pair;
        if (used[a] || used[b])
            continue;
        // A smooth curve that leaves each leaf along its own heading, so the joins have no kink.
        const std::vector<Eigen::Vector3d> curve = bridgeCurve(m_vessels[a].points, m_vessels[b].points, m_voxel);
        const double radius = std::min(m_vessels[a].radius, m_vessels[b].radius);
        const double zone = 2.0 * (m_vessels[a].radius + m_vessels[b].radius) + 4 * m_voxel;
        bool clear = true;
        for (std::size_t s = 1; s + 1 < curve.size() && clear; ++s) {
            const int ignore = (curve[s] - curve.front()).norm() < zone  ? a
                               : (curve[s] - curve.back()).norm() < zone ? b
                                                                         : -2;
            clear = inside(curve[s], radius) && isClear(curve[s], radius, ignore, -2);
        }
        if (!clear)
            continue;
        Vessel bridge;
        bridge.radius = radius;
        bridge.points = curve;
        const int index = static_cast<int>(m_vessels.size());
        for (std::size_t i = 1; i < bridge.points.size(); ++i) {
            m_segments.push_back({bridge.points[i - 1], bridge.points[i], radius});
            m_segmentVessel.push_back(index);
        }
        m_vessels.push_back(std::move(bridge));
        used.push_back(true);
        used[a] = used[b] = true;
        ++m_loops;
    }
}

void VesselPhantom::addBumps() {
    // Vessels long enough to hold a bump more than a diameter away from both of their ends.
    std::vector<int> hosts;
    for (int i = 0; i < static_cast<int>(m_vessels.size()); ++i) {
        const Vessel& vessel = m_vessels[i];
        const double keepOut = 2.0 * vessel.radius + 2.0 * m_voxel;
        if ((vessel.points.size() - 1) * 1.5 * m_voxel > 2.0 * keepOut + m_voxel)
            hosts.push_back(i);
    }
    for (int b = 0; b < m_options.bumps && !hosts.empty(); ++b) {
        const Vessel& vessel = m_vessels[hosts[std::min<std::size_t>(
            hosts.size() - 1, static_cast<std::size_t>(uniform(0.0, 1.0) * hosts.size()))]];
        const double keepOut = 2.0 * vessel.radius + 2.0 * m_voxel;
        // A point along the vessel (its points lie about 1.5 voxels apart) and a direction normal to it.
        const double length = (vessel.points.size() - 1) * 1.5 * m_voxel;
        const double along = uniform(keepOut, length - keepOut) / (1.5 * m_voxel);
        const std::size_t i = std::min(vessel.points.size() - 2, static_cast<std::size_t>(along));
        const Eigen::Vector3d a = vessel.points[i], b2 = vessel.points[i + 1];
        const Eigen::Vector3d axis = (b2 - a).normalized();
        Eigen::Vector3d normal(uniform(-1, 1), uniform(-1, 1), m_options.twoD ? 0.0 : uniform(-1, 1));
        normal -= normal.dot(axis) * axis;
        if (normal.norm() < 1e-6)
            normal = axis.unitOrthogonal();
        const Eigen::Vector3d centre =
            a + (b2 - a) * (along - static_cast<double>(i)) + normal.normalized() * vessel.radius * uniform(0.7, 1.0);
        m_bumps.emplace_back(centre, std::max(vessel.radius * uniform(0.3, 0.6), 0.8 * m_voxel));
    }
}

std::shared_ptr<SharedImage> VesselPhantom::mask() const {
    auto image = TypedImage<std::uint8_t>::create(m_descriptor);
    std::fill(image->pointer(), image->pointer() + m_descriptor.numPixels(), std::uint8_t(0));
    const Eigen::Vector3d spacing = m_descriptor.spacing;
    const Eigen::Vector3d centre = (m_descriptor.dimensions.cast<double>().array() - 1.0) / 2.0;
    const Eigen::Vector3i dims = m_descriptor.dimensions;

    // Smooth surface noise: three plane waves of about four voxels wavelength with seeded directions.
    std::uint64_t state = m_options.seed * 7919ULL + 3;
    auto next = [&state]() { return nextUnit(state); };
    Eigen::Vector3d waves[3];
    double phases[3];
    for (int w = 0; w < 3; ++w) {
        waves[w] = Eigen::Vector3d(next() - 0.5, next() - 0.5, m_options.twoD ? 0.0 : next() - 0.5).normalized() *
                   (2 * pi / (4 * m_voxel));
        phases[w] = next() * 2 * pi;
    }
    auto surface = [&](const Eigen::Vector3d& p) {
        double sum = 0.0;
        for (int w = 0; w < 3; ++w)
            sum += std::sin(waves[w].dot(p) + phases[w]);
        return sum / 3.0;
    };

    std::uint8_t* values = image->pointer();
    std::vector<Segment> pieces = m_segments;
    const std::size_t tubes = pieces.size();
    for (const auto& [centre, radius] : m_bumps)
        pieces.push_back({centre, centre, radius});
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        const Segment& segment = pieces[piece];
        const double noise = piece < tubes ? m_options.noise : 0.0;
        const double reach = segment.radius * (1.0 + noise) + m_voxel;
        Eigen::Vector3i low, high;
        for (int axis = 0; axis < 3; ++axis) {
            const double lo = std::min(segment.a[axis], segment.b[axis]) - reach;
            const double hi = std::max(segment.a[axis], segment.b[axis]) + reach;
            low[axis] = std::max(0, static_cast<int>(std::floor(lo / spacing[axis] + centre[axis])));
            high[axis] = std::min(dims[axis] - 1, static_cast<int>(std::ceil(hi / spacing[axis] + centre[axis])));
        }
        for (int z = low.z(); z <= high.z(); ++z)
            for (int y = low.y(); y <= high.y(); ++y)
                for (int x = low.x(); x <= high.x(); ++x) {
                    const Eigen::Vector3d p = (Eigen::Vector3d(x, y, z) - centre).cwiseProduct(spacing);
                    const double radius = segment.radius * (1.0 + noise * surface(p));
                    if (distanceToSegment(p, segment.a, segment.b) <= radius)
                        values[m_descriptor.index(x, y, z)] = 1;
                }
    }

    if (m_options.holes)
        for (const Segment& segment : m_segments) {
            if (segment.radius < 3 * m_voxel || next() > 0.3)
                continue;
            // A single empty voxel a third of the radius off the axis, which hole closing fills.
            Eigen::Vector3d offset(next() - 0.5, next() - 0.5, m_options.twoD ? 0.0 : next() - 0.5);
            const Eigen::Vector3d p = (segment.a + segment.b) / 2.0 + offset.normalized() * segment.radius / 3.0;
            const Eigen::Vector3i pixel = (p.cwiseQuotient(spacing) + centre).array().round().cast<int>();
            if ((pixel.array() >= 0).all() && (pixel.array() < dims.array()).all())
                values[m_descriptor.index(pixel.x(), pixel.y(), pixel.z())] = 0;
        }
    return std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(image)), m_matrixToWorld, Data::Label);
}

VesselPhantom::Centerlines VesselPhantom::truth() const {
    Centerlines truth;
    const Eigen::Matrix3d rotation = m_matrixToWorld.topLeftCorner<3, 3>();
    const Eigen::Vector3d translation = m_matrixToWorld.topRightCorner<3, 1>();

    // Vessel ends are shared exactly (children start at their parent's last point, bridges at leaves).
    std::map<std::tuple<double, double, double>, int> endPoints;
    auto pointAt = [&](const Eigen::Vector3d& p, bool shared) {
        const auto key = std::make_tuple(p.x(), p.y(), p.z());
        if (shared) {
            auto found = endPoints.find(key);
            if (found != endPoints.end())
                return found->second;
        }
        truth.points.push_back(rotation * p + translation);
        const int id = static_cast<int>(truth.points.size()) - 1;
        if (shared)
            endPoints.emplace(key, id);
        return id;
    };
    for (const Vessel& vessel : m_vessels) {
        int previous = pointAt(vessel.points.front(), true);
        for (std::size_t i = 1; i < vessel.points.size(); ++i) {
            const Eigen::Vector3d a = vessel.points[i - 1], b = vessel.points[i];
            const int pieces = std::max(1, static_cast<int>(std::ceil((b - a).norm() / (0.5 * m_voxel))));
            for (int piece = 1; piece <= pieces; ++piece) {
                const bool last = i + 1 == vessel.points.size() && piece == pieces;
                const int current = pointAt(a + (b - a) * (double(piece) / pieces), last);
                truth.edges.emplace_back(previous, current);
                truth.diameters.push_back(2.0 * vessel.radius);
                previous = current;
            }
        }
    }
    return truth;
}

bool VesselPhantom::writeTruthGraphML(const std::string& path) const {
    const Centerlines lines = truth();
    AtomicFileWriter writer(path);
    std::string error;
    if (!writer.open(error)) {
        TW_LOG_ERROR("Cannot write '{}': {}", path, error);
        return false;
    }
    std::ostream& out = writer.stream();
    out << std::setprecision(17);
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        << "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\">\n";
    for (const char* axis : {"x", "y", "z"})
        out << "    <key id=\"" << axis << "\" for=\"node\" attr.name=\"" << axis << "\" attr.type=\"double\"/>\n";
    out << "    <key id=\"diameter\" for=\"edge\" attr.name=\"diameter\" attr.type=\"double\"/>\n"
        << "    <graph id=\"G\" edgedefault=\"undirected\">\n";
    for (std::size_t i = 0; i < lines.points.size(); ++i) {
        const Eigen::Vector3d& p = lines.points[i];
        out << "        <node id=\"n" << i << "\"><data key=\"x\">" << p.x() << "</data><data key=\"y\">" << p.y()
            << "</data><data key=\"z\">" << p.z() << "</data></node>\n";
    }
    for (std::size_t i = 0; i < lines.edges.size(); ++i)
        out << "        <edge source=\"n" << lines.edges[i].first << "\" target=\"n" << lines.edges[i].second
            << "\"><data key=\"diameter\">" << lines.diameters[i] << "</data></edge>\n";
    out << "    </graph>\n</graphml>\n";
    if (!writer.commit(error)) {
        TW_LOG_ERROR("Writing '{}' failed: {}", path, error);
        return false;
    }
    return true;
}

} // namespace Tarnwick
