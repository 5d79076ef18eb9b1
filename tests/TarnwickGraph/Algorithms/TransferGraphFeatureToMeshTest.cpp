#include <TarnwickGraph/Algorithms/TransferGraphFeatureToMeshAlgorithm.h>

#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Algorithms/NearestEdgeSearch.h>
#include <TarnwickLib/Data/Line.h>
#include <TarnwickLib/Data/Mesh.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

using namespace Tarnwick;

namespace {

/// Two horizontal edges: 1-2 along x at y = 0 with "diameter" 1, 3-4 along x at y = 10 with 3; the
/// node feature "radius" runs 0 (node 1) to 10 (node 2) and 20 (node 3) to 30 (node 4).
std::unique_ptr<Graph> twoEdges() {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    graph->addNodeFeatureDescriptors({{"radius", 0.0}});
    graph->addNode(Graph::NodeInfo({0, 0, 0}, {0.0}));
    graph->addNode(Graph::NodeInfo({1, 0, 0}, {10.0}));
    graph->addNode(Graph::NodeInfo({0, 10, 0}, {20.0}));
    graph->addNode(Graph::NodeInfo({1, 10, 0}, {30.0}));
    graph->addEdge(1, 2, Graph::EdgeInfo{{1.0}});
    graph->addEdge(3, 4, Graph::EdgeInfo{{3.0}});
    return graph;
}

/// Vertices near the first edge (at x = 0.3), near the second (x = 0.8) and far from both.
std::unique_ptr<Mesh> probeMesh() {
    return std::make_unique<Mesh>(std::vector<Eigen::Vector3d>{{0.3, 0.5, 0.0}, {0.8, 9.0, 0.2}, {0.5, 5.0, 40.0}},
                                  std::vector<Eigen::Vector3i>{{0, 1, 2}});
}

} // namespace

TEST(TransferGraphFeatureToMesh, VerticesTakeTheNearestEdgesValue) {
    auto graph = twoEdges();
    auto mesh = probeMesh();
    TransferGraphFeatureToMeshAlgorithm algorithm(*graph, *mesh);
    algorithm.maxDistance = 5.0;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    const std::vector<float>* scalars = mesh->vertexScalars("diameter");
    ASSERT_NE(scalars, nullptr);
    EXPECT_FLOAT_EQ((*scalars)[0], 1.0f);
    EXPECT_FLOAT_EQ((*scalars)[1], 3.0f);
    EXPECT_TRUE(std::isnan((*scalars)[2])) << "beyond maxDistance";
    EXPECT_TRUE(mesh->vertexColor(0).isApprox(Eigen::Vector4f(0, 0, 1, 1))) << "the smallest value is blue";
    EXPECT_TRUE(mesh->vertexColor(1).isApprox(Eigen::Vector4f(1, 0, 0, 1))) << "the largest value is red";
    EXPECT_TRUE(mesh->vertexColor(2).isApprox(Eigen::Vector4f(0.5, 0.5, 0.5, 1)));

    // Without a limit every vertex gets a value; a placement of the mesh is applied first.
    TransferGraphFeatureToMeshAlgorithm unlimited(*graph, *mesh);
    Eigen::Matrix4d shift = Eigen::Matrix4d::Identity();
    shift(1, 3) = 9.0; // vertex 0 now lies at y = 9.5, next to the second edge
    mesh->setMatrixToWorld(shift);
    unlimited.compute();
    EXPECT_FLOAT_EQ((*mesh->vertexScalars("diameter"))[0], 3.0f);
    EXPECT_FALSE(std::isnan((*mesh->vertexScalars("diameter"))[2]));
}

TEST(TransferGraphFeatureToMesh, NodeFeaturesAreInterpolatedAlongTheEdge) {
    auto graph = twoEdges();
    auto mesh = probeMesh();
    TransferGraphFeatureToMeshAlgorithm algorithm(*graph, *mesh);
    algorithm.featureName = "radius";
    algorithm.featureType = TransferGraphFeatureToMeshAlgorithm::Node;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    const std::vector<float>& radius = *mesh->vertexScalars("radius");
    EXPECT_NEAR(radius[0], 3.0, 1e-5);  // 30 % along 1 -> 2
    EXPECT_NEAR(radius[1], 28.0, 1e-5); // 80 % along 3 -> 4
    EXPECT_TRUE(TransferGraphFeatureToMeshAlgorithm::rampColor(0.5).isApprox(Eigen::Vector3f(0, 1, 0)));
}

TEST(TransferGraphFeatureToMesh, FailuresLeaveTheMeshUnpainted) {
    Tarnwick::Test::LogCapture log;
    auto graph = twoEdges();
    auto mesh = probeMesh();
    TransferGraphFeatureToMeshAlgorithm missing(*graph, *mesh);
    missing.featureName = "thickness";
    missing.compute();
    EXPECT_EQ(missing.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("Graph has no edge feature 'thickness'.", Log::Error));

    missing.featureType = TransferGraphFeatureToMeshAlgorithm::Node;
    missing.compute();
    EXPECT_TRUE(log.contains("Graph has no node feature 'thickness'.", Log::Error));

    Graph noEdges(Graph::Undirected, Graph::Dim3D);
    noEdges.addNode(Graph::NodeInfo({0, 0, 0}, {}));
    TransferGraphFeatureToMeshAlgorithm lonely(noEdges, *mesh);
    lonely.compute();
    EXPECT_EQ(lonely.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("The graph has no edges.", Log::Error));
    EXPECT_FALSE(mesh->hasVertexColors());
    EXPECT_TRUE(mesh->vertexScalarNames().empty());
}
