#include <TarnwickLib/Data/NearestNeighborSearch.h>

#include <Eigen/Geometry>
#include <nanoflann.hpp>

#include <cmath>

namespace Tarnwick {

namespace {
struct PointAdaptor {
    std::vector<Eigen::Vector3d> points;
    std::size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t dim) const { return points[i][dim]; }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};
using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, PointAdaptor>, PointAdaptor, 3,
                                                 std::size_t>;
} // namespace

struct NearestNeighborSearch::Impl {
    PointAdaptor adaptor;
    std::unique_ptr<Tree> tree;
};

NearestNeighborSearch::NearestNeighborSearch() : m_impl(std::make_unique<Impl>()) {}
NearestNeighborSearch::~NearestNeighborSearch() = default;
NearestNeighborSearch::NearestNeighborSearch(NearestNeighborSearch&&) noexcept = default;
NearestNeighborSearch& NearestNeighborSearch::operator=(NearestNeighborSearch&&) noexcept = default;

void NearestNeighborSearch::buildIndex(const std::vector<Eigen::Vector3d>& points, const Eigen::Matrix4d& matrix) {
    m_impl->tree.reset();
    m_impl->adaptor.points.clear();
    m_impl->adaptor.points.reserve(points.size());
    for (const auto& p : points)
        m_impl->adaptor.points.push_back((matrix * p.homogeneous()).head<3>());
    m_impl->tree = std::make_unique<Tree>(3, m_impl->adaptor, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    m_impl->tree->buildIndex();
}

std::size_t NearestNeighborSearch::size() const { return m_impl->adaptor.points.size(); }

std::size_t NearestNeighborSearch::findNearestNeighborsRadius(const Eigen::Vector3d& point, double radius,
                                                              std::vector<std::size_t>& indices,
                                                              std::vector<double>& distances) const {
    indices.clear();
    distances.clear();
    if (!m_impl->tree || size() == 0 || !(radius >= 0))
        return 0;
    std::vector<std::pair<std::size_t, double>> matches;
    nanoflann::SearchParams params;
    params.sorted = true;
    // The tree works with squared distances; widen the bound by a rounding margin so points exactly at
    // `radius` are found, then keep those within the margin.
    const double bound = radius * (1 + 1e-12);
    m_impl->tree->radiusSearch(point.data(), bound * bound, matches, params);
    indices.reserve(matches.size());
    distances.reserve(matches.size());
    for (const auto& [index, squared] : matches) {
        const double distance = std::sqrt(squared);
        if (distance > bound)
            continue;
        indices.push_back(index);
        distances.push_back(distance);
    }
    return indices.size();
}

std::size_t NearestNeighborSearch::findNearestNeighbors(const Eigen::Vector3d& point, std::size_t k,
                                                        std::vector<std::size_t>& indices,
                                                        std::vector<double>& distances) const {
    indices.clear();
    distances.clear();
    if (!m_impl->tree || size() == 0 || k == 0)
        return 0;
    k = std::min(k, size());
    indices.resize(k);
    std::vector<double> squared(k);
    const std::size_t found = m_impl->tree->knnSearch(point.data(), k, indices.data(), squared.data());
    indices.resize(found);
    distances.resize(found);
    for (std::size_t i = 0; i < found; ++i)
        distances[i] = std::sqrt(squared[i]);
    return found;
}

} // namespace Tarnwick
