#include "VesselMaskGenerator.h"
#include "RandomWalk.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <deque>

namespace Tarnwick::Bench {
namespace {

constexpr double kPi = 3.14159265358979323846;
// Target share of foreground voxels (tube volumes overlap, so the mask ends up somewhat below it).
constexpr double kForegroundFraction = 0.04;

struct Segment {
    Eigen::Vector3d a, b;
    double radiusA, radiusB;
};

struct Branch {
    Eigen::Vector3d position, direction;
    double radius;
};

class TreeGrower {
public:
    TreeGrower(const VesselMaskOptions& options) : m_options(options), m_walk(options.seed) {}

    std::vector<Segment> grow() {
        const Eigen::Vector3d size = m_options.dims.cast<double>();
        const int trees = std::max(2, static_cast<int>(std::lround(4.0 * size.prod() / std::pow(256.0, 3))));
        std::deque<Branch> pending;
        for (int t = 0; t < trees; ++t) {
            const Eigen::Vector3d start = size.cwiseProduct(
                Eigen::Vector3d(m_walk.uniform(0.3, 0.7), m_walk.uniform(0.3, 0.7), m_walk.uniform(0.3, 0.7)));
            pending.push_back({start, m_walk.randomUnit(), m_options.maxRadius});
        }
        // Breadth first, so every tree grows its trunk before the thin branches use up the volume budget.
        const double volumeBudget = kForegroundFraction * size.prod();
        while (!pending.empty() && m_tubeVolume < volumeBudget) {
            const Branch branch = pending.front();
            pending.pop_front();
            walk(branch, pending);
        }
        return m_segments;
    }

private:
    void walk(Branch branch, std::deque<Branch>& pending) {
        const double length = branch.radius * m_walk.uniform(10.0, 20.0) + m_walk.uniform(20.0, 40.0);
        double walked = 0.0;
        while (walked < length && branch.radius >= m_options.minRadius) {
            const double step = std::max(2.0, branch.radius);
            const double margin = branch.radius + 2.0;
            Eigen::Vector3d direction = RandomWalk::keepInside(
                branch.position, branch.direction + 0.35 * m_walk.randomUnit(), m_options.dims, margin);
            Eigen::Vector3d next = branch.position + step * direction;
            for (int axis = 0; axis < 3; ++axis)
                next[axis] = std::clamp(next[axis], margin, std::max(margin, m_options.dims[axis] - 1 - margin));
            const double nextRadius = std::max(m_options.minRadius, branch.radius * 0.985);
            m_segments.push_back({branch.position, next, branch.radius, nextRadius});
            m_tubeVolume += kPi * branch.radius * branch.radius * step;
            if (m_walk.uniform(0.0, 1.0) < 0.2 && branch.radius * 0.7 >= m_options.minRadius) {
                const Eigen::Vector3d side = (direction + 1.2 * m_walk.randomUnit()).normalized();
                pending.push_back({next, side, branch.radius * m_walk.uniform(0.55, 0.8)});
            }
            walked += step;
            branch = {next, direction, nextRadius};
        }
    }

    const VesselMaskOptions& m_options;
    RandomWalk m_walk;
    std::vector<Segment> m_segments;
    double m_tubeVolume = 0.0;
};

void rasterize(const Segment& s, const Eigen::Vector3i& dims, std::vector<std::uint8_t>& mask) {
    const double reach = std::max(s.radiusA, s.radiusB);
    Eigen::Vector3i lo, hi;
    for (int axis = 0; axis < 3; ++axis) {
        lo[axis] = std::max(0, static_cast<int>(std::floor(std::min(s.a[axis], s.b[axis]) - reach)));
        hi[axis] = std::min(dims[axis] - 1, static_cast<int>(std::ceil(std::max(s.a[axis], s.b[axis]) + reach)));
    }
    const Eigen::Vector3d ab = s.b - s.a;
    const double lengthSquared = std::max(ab.squaredNorm(), 1e-12);
    for (int z = lo.z(); z <= hi.z(); ++z) {
        for (int y = lo.y(); y <= hi.y(); ++y) {
            for (int x = lo.x(); x <= hi.x(); ++x) {
                const Eigen::Vector3d q(x, y, z);
                const double t = std::clamp((q - s.a).dot(ab) / lengthSquared, 0.0, 1.0);
                const double radius = s.radiusA + t * (s.radiusB - s.radiusA);
                if ((s.a + t * ab - q).squaredNorm() <= radius * radius)
                    mask[(static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x] = 1;
            }
        }
    }
}

} // namespace

std::vector<std::uint8_t> generateVesselMask(const VesselMaskOptions& options) {
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(options.dims.prod()), 0);
    for (const Segment& segment : TreeGrower(options).grow())
        rasterize(segment, options.dims, mask);
    return mask;
}

} // namespace Tarnwick::Bench
