#include "CenterlineTreeGenerator.h"
#include "RandomWalk.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>

namespace Tarnwick::Bench {
namespace {

struct Branch {
    Eigen::Vector3d direction;
    double radius;
    std::int64_t from; ///< the point it starts at, -1 for a new tree
    Eigen::Vector3d start;
};

class TreeGrower {
public:
    explicit TreeGrower(const CenterlineTreeOptions& options) : m_options(options), m_walk(options.seed) {}

    CenterlineTree grow() {
        std::deque<Branch> pending;
        while (m_tree.points.size() < m_options.pointCount) {
            if (pending.empty())
                pending.push_back(newTree());
            const Branch branch = pending.front();
            pending.pop_front();
            walk(branch, pending);
        }
        return std::move(m_tree);
    }

private:
    Branch newTree() {
        const Eigen::Vector3d size = m_options.dims.cast<double>();
        const Eigen::Vector3d start = size.cwiseProduct(
            Eigen::Vector3d(m_walk.uniform(0.3, 0.7), m_walk.uniform(0.3, 0.7), m_walk.uniform(0.3, 0.7)));
        return {m_walk.randomUnit(), m_options.maxRadius, -1, start};
    }

    std::int64_t add(const Eigen::Vector3d& p, double radius, std::int64_t parent, bool spur) {
        m_tree.points.push_back(p);
        m_tree.radii.push_back(radius);
        m_tree.parent.push_back(parent);
        m_tree.isSpur.push_back(spur);
        return static_cast<std::int64_t>(m_tree.points.size()) - 1;
    }

    /// A spur of 1 to 3 points at right angles to the branch, shorter than the local radius.
    void addSpur(std::int64_t at, const Eigen::Vector3d& direction) {
        const double radius = m_tree.radii[static_cast<std::size_t>(at)];
        const int length = std::clamp(static_cast<int>(m_walk.uniform(1.0, radius - 0.5)), 1, 3);
        const Eigen::Vector3d side = direction.cross(m_walk.randomUnit()).normalized();
        std::int64_t previous = at;
        for (int i = 1; i <= length && m_tree.points.size() < m_options.pointCount; ++i)
            previous = add(m_tree.points[static_cast<std::size_t>(at)] + i * side, radius, previous, true);
    }

    void walk(const Branch& branch, std::deque<Branch>& pending) {
        const int steps = static_cast<int>(m_walk.uniform(20.0, 60.0));
        Eigen::Vector3d p = branch.start;
        Eigen::Vector3d d = branch.direction;
        std::int64_t previous = branch.from;
        if (previous < 0)
            previous = add(p, branch.radius, -1, false);
        for (int i = 0; i < steps && m_tree.points.size() < m_options.pointCount; ++i) {
            d = RandomWalk::keepInside(p, (d + 0.25 * m_walk.randomUnit()).normalized(), m_options.dims,
                                       m_options.maxRadius + 3.0);
            p += d;
            previous = add(p, branch.radius, previous, false);
            if (m_options.spurEvery > 0 && ++m_sinceSpur >= m_options.spurEvery && i > 2 && i + 3 < steps) {
                m_sinceSpur = 0;
                addSpur(previous, d);
            }
        }
        const double childRadius = std::max(m_options.minRadius, branch.radius * 0.8);
        for (int child = 0; child < 2; ++child)
            pending.push_back({(d + 0.9 * m_walk.randomUnit()).normalized(), childRadius, previous, p});
    }

    const CenterlineTreeOptions& m_options;
    RandomWalk m_walk;
    CenterlineTree m_tree;
    int m_sinceSpur = 0;
};

/// value = max(value, voxelValue(radius, distance)) over the ball of every non-spur point.
template <typename T>
std::vector<T> stampBalls(const CenterlineTree& tree, const Eigen::Vector3i& dims,
                          const std::function<T(double, double)>& voxelValue) {
    std::vector<T> values(static_cast<std::size_t>(dims.prod()), T(0));
    for (std::size_t i = 0; i < tree.points.size(); ++i) {
        if (tree.isSpur[i])
            continue;
        const Eigen::Vector3d& c = tree.points[i];
        const double r = tree.radii[i];
        const Eigen::Vector3i lo = (c.array() - r).floor().cast<int>().max(0);
        const Eigen::Vector3i hi = (c.array() + r).ceil().cast<int>().min(dims.array() - 1);
        for (int z = lo.z(); z <= hi.z(); ++z)
            for (int y = lo.y(); y <= hi.y(); ++y)
                for (int x = lo.x(); x <= hi.x(); ++x) {
                    const double distance = (Eigen::Vector3d(x, y, z) - c).norm();
                    if (distance > r)
                        continue;
                    T& value = values[(static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x];
                    value = std::max(value, voxelValue(r, distance));
                }
    }
    return values;
}

} // namespace

std::size_t CenterlineTree::edgeCount() const {
    return static_cast<std::size_t>(std::count_if(parent.begin(), parent.end(), [](std::int64_t p) { return p >= 0; }));
}

CenterlineTree generateCenterlineTree(const CenterlineTreeOptions& options) {
    return TreeGrower(options).grow();
}

std::vector<std::uint8_t> rasterizeCenterlineTree(const CenterlineTree& tree, const Eigen::Vector3i& dims) {
    return stampBalls<std::uint8_t>(tree, dims, [](double, double) { return std::uint8_t(1); });
}

std::vector<float> centerlineTreeDistanceMap(const CenterlineTree& tree, const Eigen::Vector3i& dims) {
    return stampBalls<float>(tree, dims,
                             [](double radius, double distance) { return static_cast<float>(radius - distance); });
}

} // namespace Tarnwick::Bench
