#include <TarnwickLib/Data/AlignedBox.h>
#include <TarnwickLib/Data/Line.h>
#include <TarnwickLib/Data/Mesh.h>

#include <gtest/gtest.h>

using namespace Tarnwick;

TEST(AlignedBox, EmptyUntilAPointIsAdded) {
    Geometry::AlignedBox box;
    EXPECT_TRUE(box.isEmpty());
    EXPECT_EQ(box.volume(), 0.0);
    box.addPoint({1, 2, 3});
    EXPECT_FALSE(box.isEmpty());
    EXPECT_EQ(box.volume(), 0.0);
    box.addPoint({-1, 4, 7});
    EXPECT_EQ(box.center(), Eigen::Vector3d(0, 3, 5));
    EXPECT_EQ(box.extent(), Eigen::Vector3d(2, 2, 4));
    EXPECT_DOUBLE_EQ(box.volume(), 16.0);
    box.addBox(Geometry::AlignedBox()); // adding an empty box changes nothing
    EXPECT_EQ(box.extent(), Eigen::Vector3d(2, 2, 4));
}

TEST(Line, DistancesToLineAndSegment) {
    Geometry::Line line({0, 0, 0}, {1, 0, 0});
    EXPECT_DOUBLE_EQ(line.distanceToPoint({5, 3, 4}), 5.0);    // the infinite line
    EXPECT_DOUBLE_EQ(line.distanceToSegment({5, 3, 4}), std::sqrt(16.0 + 25.0)); // nearest is b
    EXPECT_DOUBLE_EQ(line.distanceToSegment({0.5, 0, 2}), 2.0);
    Geometry::Line degenerate({1, 1, 1}, {1, 1, 1});
    EXPECT_DOUBLE_EQ(degenerate.distanceToPoint({1, 1, 3}), 2.0);
}

TEST(Mesh, VertexNormalsOfAClosedTetrahedronPointOutwards) {
    std::vector<Eigen::Vector3d> v{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    std::vector<Eigen::Vector3i> f{{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
    for (auto weighting : {Mesh::NormalWeighting::Uniform, Mesh::NormalWeighting::Area, Mesh::NormalWeighting::Angle}) {
        Mesh mesh(v, f);
        mesh.computeVertexNormals(weighting);
        const Eigen::Vector3d centroid(0.25, 0.25, 0.25);
        for (int i = 0; i < mesh.numberOfVertices(); ++i) {
            EXPECT_NEAR(mesh.vertexNormal(i).norm(), 1.0, 1e-12);
            EXPECT_GT(mesh.vertexNormal(i).dot(mesh.vertex(i) - centroid), 0.0) << "vertex " << i;
        }
    }
}
