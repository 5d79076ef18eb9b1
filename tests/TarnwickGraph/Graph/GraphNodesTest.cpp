#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;
using Tarnwick::Test::nodeAt;

TEST(GraphIdAllocationTest, IdsGrowPastEveryIdEverUsed) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 1u);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 2u);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 3u);
    graph.removeNode(3);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 4u);
    graph.addOrReplaceNode(100, nodeAt(0));
    EXPECT_EQ(graph.addNode(nodeAt(0)), 101u);
    graph.addOrReplaceNode(0, nodeAt(0));
    graph.setMaxNodeId(50); // never lowers the maximum
    EXPECT_EQ(graph.maxNodeId(), 101u);
    graph.setMaxNodeId(200);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 201u);
    EXPECT_EQ(Tarnwick::Test::nodeOrder(graph), (std::vector<unsigned long>{0, 1, 2, 4, 100, 101, 201}));

    graph.addOrReplaceNode(std::numeric_limits<unsigned long>::max(), nodeAt(0));
    EXPECT_THROW(graph.addNode(nodeAt(0)), std::overflow_error);
    EXPECT_EQ(graph.numNodes(), 8u);
    EXPECT_TRUE(graphIsConsistent(graph));
}

TEST(GraphIdAllocationTest, ReplacingANodeKeepsItsEdgesAndConformsFeatures) {
    auto graph = makeGraph(Graph::Undirected, 2, {{1, 2}}, 5.0);
    graph->getOrCreateNodeFeatureIdx("radius", 0.5);
    graph->addOrReplaceNode(2, Graph::NodeInfo(Eigen::Vector3d(7, 8, 9), {1.0, 2.0, 3.0}));
    graph->editNode(1, [](Graph::NodeInfo& info) { info.features.clear(); });
    graph->editNode(99, [](Graph::NodeInfo&) { FAIL() << "unknown node edited"; });
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{5.0});
    std::vector<Graph::NodeInfo> nodes;
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& info) { nodes.push_back(info); });
    EXPECT_EQ(nodes,
              (std::vector<Graph::NodeInfo>{{Eigen::Vector3d(1, 0, 0), {0.5}}, {Eigen::Vector3d(7, 8, 9), {1.0}}}));
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphGeometryTest, BoundsAreInWorldCoordinates) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addNode(nodeAt(1, 2, 3));
    graph.addNode(nodeAt(-1, 5, 0));
    EXPECT_EQ(graph.bounds(), Geometry::AlignedBox(Eigen::Vector3d(-1, 2, 0), Eigen::Vector3d(1, 5, 3)));
    graph.setMatrixToWorld((Eigen::Translation3d(10, 0, 0) * Eigen::Scaling(2.0)).matrix());
    EXPECT_EQ(graph.bounds(), Geometry::AlignedBox(Eigen::Vector3d(8, 4, 0), Eigen::Vector3d(12, 10, 6)));
}

} // namespace
} // namespace Tarnwick
