#pragma once

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarnwick::Bench {

/// Shape of a synthetic vessel centerline tree.
struct CenterlineTreeOptions {
    /// Volume the tree grows in, in voxels; the tubes stay clear of its border.
    Eigen::Vector3i dims{384, 384, 384};
    /// Number of centerline points to generate, spur points included.
    std::size_t pointCount = 100000;
    std::uint32_t seed = 1;
    /// Tube radius range in voxels: trunks start at maxRadius, branches thin down to minRadius.
    double minRadius = 1.5;
    double maxRadius = 6.0;
    /// Every spurEvery-th trunk or branch point gets a short side spur (1 to 3 points, shorter than the
    /// local radius), as skeletonisation leaves them; 0 for none.
    int spurEvery = 0;
};

/// A forest of centerline points one voxel apart, in voxel coordinates. Point i joins its parent
/// (parent[i] < i, or -1 for the root of a tree), so the edges are (parent[i], i).
struct CenterlineTree {
    std::vector<Eigen::Vector3d> points;
    std::vector<double> radii;        ///< tube radius around each point; a spur point has its anchor's
    std::vector<std::int64_t> parent; ///< -1 for roots
    std::vector<bool> isSpur;         ///< spur points lie inside the tube and are not part of it

    std::size_t edgeCount() const;
};

/// Random branching walks with persistent direction (a few trees, each trunk splitting into thinner
/// branches), until options.pointCount points exist. The same options always give the same tree.
CenterlineTree generateCenterlineTree(const CenterlineTreeOptions& options);

/// 0/1 mask (x fastest) of the union of balls of radius radii[i] around every non-spur point: a tube
/// around each branch.
std::vector<std::uint8_t> rasterizeCenterlineTree(const CenterlineTree& tree, const Eigen::Vector3i& dims);

/// For every voxel, the largest (radius - distance to the point) over the balls of the mask, 0 outside:
/// the distance to the tube wall measured in voxels.
std::vector<float> centerlineTreeDistanceMap(const CenterlineTree& tree, const Eigen::Vector3i& dims);

} // namespace Tarnwick::Bench
