#pragma once

#include <Eigen/Core>

#include <memory>
#include <vector>

namespace Tarnwick {

/// Exact nearest-neighbour queries over a fixed set of 3-D points (a k-d tree).
/// Build: O(n log n). Query: O(log n + k) on average for k results.
class NearestNeighborSearch {
public:
    NearestNeighborSearch();
    ~NearestNeighborSearch();
    NearestNeighborSearch(NearestNeighborSearch&&) noexcept;
    NearestNeighborSearch& operator=(NearestNeighborSearch&&) noexcept;

    /// Indexes the points after transforming each by `matrix` (homogeneous, e.g. data to world).
    /// Queries are then made in the transformed frame; result indices refer to `points`.
    void buildIndex(const std::vector<Eigen::Vector3d>& points, const Eigen::Matrix4d& matrix = Eigen::Matrix4d::Identity());

    std::size_t size() const;

    /// All points within `radius` (inclusive) of `point`, nearest first; distances are Euclidean (not squared).
    /// Returns the number found.
    std::size_t findNearestNeighborsRadius(const Eigen::Vector3d& point, double radius, std::vector<std::size_t>& indices,
                                           std::vector<double>& distances) const;

    /// The k nearest points, nearest first (fewer when the index holds fewer). Returns the number found.
    std::size_t findNearestNeighbors(const Eigen::Vector3d& point, std::size_t k, std::vector<std::size_t>& indices,
                                     std::vector<double>& distances) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Tarnwick
