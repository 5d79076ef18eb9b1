#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <memory>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

/// Nodes 1, 2, 3 carrying "a" = 0 and "b" = 2, 5, -1, with the edges 1 -> 2 and 3 -> 2.
std::unique_ptr<Graph> threeNodes(Graph::Type type) {
    auto graph = std::make_unique<Graph>(type, Graph::Dim3D);
    graph->addNodeFeatureDescriptors({{"a", 0.0}, {"b", 0.0}});
    for (double b : {2.0, 5.0, -1.0})
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {0.0, b}));
    graph->addEdge(1, 2, Graph::EdgeInfo{});
    graph->addEdge(3, 2, Graph::EdgeInfo{});
    return graph;
}

} // namespace

TEST(NodeToEdgeFeature, RefusesGraphsWithoutTheFeatureAndLeavesThemUnchanged) {
    LogCapture log;
    auto bare = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    NodeToEdgeFeatureAlgorithm noFeatures(*bare);
    noFeatures.nodeFeatureIndex = 0;
    noFeatures.compute();
    EXPECT_EQ(noFeatures.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("No node features found.", Log::Error));

    auto graph = threeNodes(Graph::Undirected);
    const auto descriptorsBefore = graph->edgeFeatureDescriptors();
    for (std::optional<int> index : {std::optional<int>{}, std::optional<int>{2}, std::optional<int>{-1}}) {
        log.clear();
        NodeToEdgeFeatureAlgorithm algorithm(*graph);
        algorithm.nodeFeatureName = "missing";
        algorithm.nodeFeatureIndex = index;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput);
        EXPECT_EQ(log.errors(), std::vector<std::string>{"Selected node feature does not exist."});
    }
    EXPECT_EQ(graph->edgeFeatureDescriptors(), descriptorsBefore);
}

TEST(NodeToEdgeFeature, EveryEdgeCombinesItsEndValues) {
    using Algo = NodeToEdgeFeatureAlgorithm;
    struct Case {
        Algo::Mode mode;
        Graph::Type type;
        const char* column;
        double edge12, edge32;
    };
    // Undirected edges run from the smaller id, so 3 -> 2 is stored as 2 -> 3 and its difference is |5 - -1|.
    for (const Case& c : {Case{Algo::Sum, Graph::Directed, "NodeFeatureSum", 7, 4},
                          Case{Algo::Average, Graph::Undirected, "NodeFeatureAverage", 3.5, 2},
                          Case{Algo::Difference, Graph::Directed, "NodeFeatureDifference", -3, -6},
                          Case{Algo::Difference, Graph::Undirected, "NodeFeatureDifference", 3, 6}}) {
        auto graph = threeNodes(c.type);
        Algo algorithm(*graph);
        algorithm.mode = c.mode;
        algorithm.nodeFeatureName = "b";
        algorithm.compute();
        ASSERT_EQ(algorithm.status(), Algorithm::Success);
        ASSERT_EQ(Algo::outputFeatureName(c.mode), c.column);
        const auto column = static_cast<std::size_t>(*graph->getEdgeFeatureIdx(c.column));
        EXPECT_DOUBLE_EQ(graph->edge(1, 2)->features[column], c.edge12) << c.column;
        const unsigned long from = c.type == Graph::Directed ? 3 : 2, to = c.type == Graph::Directed ? 2 : 3;
        EXPECT_DOUBLE_EQ(graph->edge(from, to)->features[column], c.edge32) << c.column;
        EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));
    }
}
