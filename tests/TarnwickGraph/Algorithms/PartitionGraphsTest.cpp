#include "../GraphInvariants.h"

#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>

#include <gtest/gtest.h>

#include <memory>

namespace Tarnwick {
namespace {

using Test::graphIsConsistent;

std::vector<Graph*> parts(const OwningDataList& output) {
    return output.dataList().getAll<Graph>();
}

/// Components of sizes 1 (node 1), 3 (nodes 2-4, a chain) and 2 (nodes 5-6), discovered in that order.
std::unique_ptr<Graph> threeComponents(Graph::Type type = Graph::Undirected) {
    auto graph = std::make_unique<Graph>(type, Graph::Dim3D);
    for (int i = 1; i <= 6; ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d(i, 0, 0), {}));
    graph->addEdge(2, 3, {{2.5}});
    graph->addEdge(3, 4, {{3.5}});
    graph->addEdge(6, 5, {{5.5}});
    return graph;
}

TEST(PartitionGraphsTest, PartsComeLargestFirstWithFreshIdsAndAllEdges) {
    auto graph = threeComponents();
    PartitionGraphsAlgorithm algorithm(*graph);
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    OwningDataList output = algorithm.takeOutput();
    const std::vector<Graph*> result = parts(output);
    ASSERT_EQ(result.size(), 3u);
    EXPECT_EQ(result[0]->numNodes(), 3u);
    EXPECT_EQ(result[1]->numNodes(), 2u);
    EXPECT_EQ(result[2]->numNodes(), 1u);

    // The chain 2-3-4 becomes 1-2-3 with its records.
    const Graph& chain = *result[0];
    EXPECT_TRUE(graphIsConsistent(chain));
    EXPECT_EQ(chain.numEdges(), 2u);
    ASSERT_TRUE(chain.edge(1, 2).has_value());
    EXPECT_EQ(chain.edge(1, 2)->features, std::vector<double>{2.5});
    EXPECT_EQ(chain.edge(2, 3)->features, std::vector<double>{3.5});
    std::vector<double> xs;
    chain.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { xs.push_back(node.position.x()); });
    EXPECT_EQ(xs, (std::vector<double>{2, 3, 4}));
    // The edge was stored as 6-5 in the input; in the part it joins nodes 1 and 2.
    EXPECT_EQ(result[1]->edge(2, 1)->features, std::vector<double>{5.5});
    EXPECT_EQ(result[2]->numEdges(), 0u);
    EXPECT_EQ(graph->numNodes(), 6u) << "the input is not changed";
}

TEST(PartitionGraphsTest, MinComponentSizeDropsSmallerComponentsOnly) {
    auto graph = threeComponents();
    PartitionGraphsAlgorithm algorithm(*graph);
    algorithm.minComponentSize = 2;
    algorithm.compute();
    std::vector<Graph*> result = parts(algorithm.output());
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[1]->numNodes(), 2u) << "a component of exactly minComponentSize nodes is kept";

    algorithm.minComponentSize = 4;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    EXPECT_TRUE(algorithm.output().empty());

    Graph empty(Graph::Undirected, Graph::Dim3D);
    PartitionGraphsAlgorithm onEmpty(empty);
    onEmpty.compute();
    EXPECT_EQ(onEmpty.status(), Algorithm::Success);
    EXPECT_TRUE(onEmpty.output().empty());
}

TEST(PartitionGraphsTest, PartsKeepFeatureNamesAttributesAndPlacement) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.getOrCreateNodeFeatureIdx("radius", 2.0);
    graph.getOrCreateEdgeFeatureIdx("length", -1.0);
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(10, 20, 30);
    graph.setMatrixToWorld(placement);
    Properties attributes;
    attributes.setParam("label", std::string("root"));
    const unsigned long a = graph.addNode(Graph::NodeInfo(Eigen::Vector3d(1, 2, 3), {4.5}, attributes));
    const unsigned long b = graph.addNode(Graph::NodeInfo(Eigen::Vector3d(4, 5, 6), {5.5}));
    Graph::EdgeInfo edge{{1.5, 2.5}, attributes};
    graph.addEdge(a, b, edge);

    const auto result = PartitionGraphsAlgorithm::partition(graph, PartitionGraphsAlgorithm::ComponentMap{{0, {a, b}}});
    ASSERT_EQ(result.size(), 1u);
    const Graph& part = *result[0];
    EXPECT_EQ(part.nodeFeatureDescriptors(), graph.nodeFeatureDescriptors());
    EXPECT_EQ(part.edgeFeatureDescriptors(), graph.edgeFeatureDescriptors());
    EXPECT_EQ(part.matrixToWorld(), placement);
    std::vector<Graph::NodeInfo> nodes;
    part.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { nodes.push_back(node); });
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0], Graph::NodeInfo(Eigen::Vector3d(1, 2, 3), {4.5}, attributes));
    EXPECT_EQ(part.edge(1, 2), std::optional<Graph::EdgeInfo>(edge));
}

} // namespace
} // namespace Tarnwick
