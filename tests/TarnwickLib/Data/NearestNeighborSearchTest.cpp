#include <TarnwickLib/Data/NearestNeighborSearch.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

using namespace Tarnwick;

TEST(NearestNeighborSearch, FindsNeighboursInTheWorldFrameWithTiesAndDuplicates) {
    // Points along x (one duplicated) and one off the axis, placed 10 mm further along x and turned a
    // quarter turn about x, which leaves the axis where it is.
    const std::vector<Eigen::Vector3d> points{{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {3, 0, 0}, {0, 4, 0}};
    const Eigen::Affine3d toWorld =
        Eigen::Translation3d(10, 0, 0) * Eigen::AngleAxisd(M_PI / 2, Eigen::Vector3d::UnitX());
    NearestNeighborSearch search;
    search.buildIndex(points, toWorld.matrix());
    ASSERT_EQ(search.size(), points.size());

    std::vector<std::size_t> indices;
    std::vector<double> distances;
    // The radius is inclusive: both copies of x = 1 lie exactly 1 away.
    ASSERT_EQ(search.findNearestNeighborsRadius({10, 0, 0}, 1.0, indices, distances), 3u);
    EXPECT_EQ(indices.front(), 0u);
    EXPECT_EQ(std::min(indices[1], indices[2]), 1u);
    EXPECT_EQ(std::max(indices[1], indices[2]), 2u);
    EXPECT_EQ(distances, (std::vector<double>{0.0, 1.0, 1.0}));

    // (0, 4, 0) turns to (10, 0, 4) in the world.
    EXPECT_EQ(search.findNearestNeighbors({10, 0, 3.5}, 3, indices, distances), 3u);
    EXPECT_EQ(indices.front(), 4u);
    ASSERT_EQ(distances.size(), 3u);
    EXPECT_NEAR(distances[0], 0.5, 1e-12);
    EXPECT_NEAR(distances[1], 3.5, 1e-12);
    EXPECT_NEAR(distances[2], std::hypot(1.0, 3.5), 1e-12);
}
