#include <TarnwickLib/Data/NearestNeighborSearch.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <random>

using namespace Tarnwick;

TEST(NearestNeighborSearch, MatchesBruteForceInATransformedFrame) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> coord(-10, 10);
    std::vector<Eigen::Vector3d> points(2000);
    for (auto& p : points)
        p = {coord(rng), coord(rng), coord(rng)};
    // Duplicates and points on a lattice make exact-radius ties likely.
    for (int i = 0; i < 50; ++i)
        points.push_back(Eigen::Vector3d(i % 5, 0, 0));
    const Eigen::Affine3d toWorld = Eigen::Translation3d(3, -2, 1) * Eigen::AngleAxisd(0.7, Eigen::Vector3d::UnitY());

    NearestNeighborSearch search;
    search.buildIndex(points, toWorld.matrix());
    ASSERT_EQ(search.size(), points.size());

    std::vector<std::size_t> indices;
    std::vector<double> distances;
    for (int q = 0; q < 200; ++q) {
        const Eigen::Vector3d query = q < 10 ? Eigen::Vector3d(toWorld * Eigen::Vector3d(q % 5, 0, 0))
                                             : Eigen::Vector3d(coord(rng), coord(rng), coord(rng));
        const double radius = q < 10 ? 1.0 : 2.5;
        std::vector<std::pair<double, std::size_t>> expected;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double d = (toWorld * points[i] - query).norm();
            if (d <= radius + 1e-9)
                expected.push_back({d, i});
        }
        std::sort(expected.begin(), expected.end());
        search.findNearestNeighborsRadius(query, radius, indices, distances);
        ASSERT_EQ(indices.size(), expected.size()) << "query " << q;
        for (std::size_t k = 0; k < expected.size(); ++k)
            EXPECT_NEAR(distances[k], expected[k].first, 1e-9);
        EXPECT_TRUE(std::is_sorted(distances.begin(), distances.end()));

        search.findNearestNeighbors(query, 3, indices, distances);
        std::vector<double> all;
        for (const auto& p : points)
            all.push_back((toWorld * p - query).norm());
        std::sort(all.begin(), all.end());
        ASSERT_EQ(distances.size(), 3u);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(distances[k], all[k], 1e-9);
    }
}

TEST(NearestNeighborSearch, EmptyIndexAndBadRadiusFindNothing) {
    NearestNeighborSearch search;
    std::vector<std::size_t> indices{1};
    std::vector<double> distances{1.0};
    EXPECT_EQ(search.findNearestNeighborsRadius({0, 0, 0}, 1.0, indices, distances), 0u);
    EXPECT_TRUE(indices.empty());
    search.buildIndex({{0, 0, 0}});
    EXPECT_EQ(search.findNearestNeighborsRadius({0, 0, 0}, -1.0, indices, distances), 0u);
    EXPECT_EQ(search.findNearestNeighborsRadius({0, 0, 0}, std::nan(""), indices, distances), 0u);
    EXPECT_EQ(search.findNearestNeighbors({5, 0, 0}, 10, indices, distances), 1u);
    EXPECT_DOUBLE_EQ(distances[0], 5.0);
}
