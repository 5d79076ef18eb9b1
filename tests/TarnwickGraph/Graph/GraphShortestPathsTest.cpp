#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;
using Tarnwick::Test::nodeAt;

using Distances = std::map<unsigned long, double>;

/// 1 -> 2 -> 3 (weights 1, 1), the longer shortcut 1 -> 3 (3) and 4 -> 3 (1), weights in "diameter".
std::unique_ptr<Graph> weightedDiamond(Graph::Type type) {
    auto graph = makeGraph(type, 4, {});
    for (auto [u, v, w] : {std::tuple{1ul, 2ul, 1.0}, {2ul, 3ul, 1.0}, {1ul, 3ul, 3.0}, {4ul, 3ul, 1.0}})
        graph->addEdge(u, v, Tarnwick::Test::edgeWith(w));
    return graph;
}

TEST(GraphGeometricPathTest, CreatesLengthsOnDemandAndFollowsDirection) {
    Graph graph(Graph::Directed, Graph::Dim3D);
    for (auto [x, y] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {2.0, 0.0}, {1.0, 5.0}, {0.0, 0.0}})
        graph.addNode(nodeAt(x, y));
    graph.addEdge(1, 4, {});
    graph.addEdge(4, 3, {});
    graph.addEdge(1, 2, {});
    graph.addEdge(2, 3, {});
    graph.addEdge(5, 5, {});
    EXPECT_EQ(GraphUtils::shortestGeometricPath(graph, 3, 3), (std::vector<unsigned long>{3}));
    EXPECT_FALSE(graph.getEdgeFeatureIdx("length").has_value());

    EXPECT_EQ(GraphUtils::shortestGeometricPath(graph, 1, 3), (std::vector<unsigned long>{1, 2, 3}));
    ASSERT_EQ(graph.getEdgeFeatureIdx("length"), 1);
    EXPECT_DOUBLE_EQ(graph.edge(4, 3)->features[1], std::sqrt(26.0));

    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(GraphUtils::shortestGeometricPath(graph, 3, 1).has_value());
    EXPECT_TRUE(log.messages().empty());
    EXPECT_FALSE(GraphUtils::shortestGeometricPath(graph, 1, 9).has_value());
    EXPECT_TRUE(log.contains("Invalid start or end node provided to shortestGeometricPath.", Log::Error));
}

TEST(GraphGeometricPathTest, NegativeLengthIsReportedAndExistingLengthsAreUsed) {
    auto graph = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {1, 4}, {4, 3}});
    const int length = graph->getOrCreateEdgeFeatureIdx("length", 1.0);
    graph->editEdge(1, 4, [&](Graph::EdgeInfo& edge) { edge.features[length] = 0.25; });
    EXPECT_EQ(GraphUtils::shortestGeometricPath(*graph, 1, 3), (std::vector<unsigned long>{1, 4, 3}));
    // Equal distances: the smaller id is settled first and becomes the predecessor.
    graph->editEdge(1, 4, [&](Graph::EdgeInfo& edge) { edge.features[length] = 1.0; });
    EXPECT_EQ(GraphUtils::shortestGeometricPath(*graph, 1, 3), (std::vector<unsigned long>{1, 2, 3}));

    graph->editEdge(2, 3, [&](Graph::EdgeInfo& edge) { edge.features[length] = -1.0; });
    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(GraphUtils::shortestGeometricPath(*graph, 1, 3).has_value());
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Negative edge length detected between nodes 2 and 3"});
}

TEST(GraphShortestPathTest, DirectedTreesFromSourcesAndToTargets) {
    auto graph = weightedDiamond(Graph::Directed);
    EXPECT_EQ(GraphUtils::shortestPath(*graph, 1, 3, "diameter"), (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_FALSE(GraphUtils::shortestPath(*graph, 3, 1, "diameter"));

    const auto fromOne = GraphUtils::singleSourceShortestPaths(*graph, 1, "diameter");
    ASSERT_TRUE(fromOne);
    EXPECT_EQ(fromOne->distances, (Distances{{1, 0.0}, {2, 1.0}, {3, 2.0}}));
    EXPECT_EQ(fromOne->path(3), (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_TRUE(fromOne->path(4).empty());

    const auto toThree = GraphUtils::singleTargetShortestPaths(*graph, 3, "diameter");
    ASSERT_TRUE(toThree);
    EXPECT_EQ(toThree->distances, (Distances{{1, 2.0}, {2, 1.0}, {3, 0.0}, {4, 1.0}}));
    EXPECT_EQ(toThree->path(1), (std::vector<unsigned long>{1, 2, 3}));

    const auto fromEither = GraphUtils::multipleSourceShortestPaths(*graph, {1, 4}, "diameter");
    ASSERT_TRUE(fromEither);
    EXPECT_EQ(fromEither->distances, (Distances{{1, 0.0}, {2, 1.0}, {3, 1.0}, {4, 0.0}}));
    EXPECT_EQ(fromEither->path(3), (std::vector<unsigned long>{4, 3}));

    const auto toEither = GraphUtils::multipleTargetShortestPaths(*graph, {2, 4}, "diameter");
    ASSERT_TRUE(toEither);
    EXPECT_EQ(toEither->distances, (Distances{{1, 1.0}, {2, 0.0}, {4, 0.0}})) << "3 reaches neither";
}

TEST(GraphShortestPathTest, BadInputIsReported) {
    auto graph = makeGraph(Graph::Directed, 3, {{1, 2}, {2, 3}}, 1.0);
    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(GraphUtils::shortestPath(*graph, 1, 3, "length"));
    EXPECT_FALSE(GraphUtils::shortestPath(*graph, 0, 3, "diameter"));
    EXPECT_FALSE(GraphUtils::singleSourceShortestPaths(*graph, 8, "diameter"));
    EXPECT_FALSE(GraphUtils::multipleTargetShortestPaths(*graph, {1, 8}, "diameter"));
    EXPECT_EQ(log.errors().size(), 4u);

    const auto nothing = GraphUtils::multipleSourceShortestPaths(*graph, {}, "diameter");
    ASSERT_TRUE(nothing);
    EXPECT_TRUE(nothing->distances.empty());
    EXPECT_TRUE(nothing->path(1).empty());

    graph->editEdge(2, 3, [](Graph::EdgeInfo& edge) { edge.features[0] = -2.0; });
    log.clear();
    EXPECT_FALSE(GraphUtils::singleTargetShortestPaths(*graph, 3, "diameter"));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Negative edge weight detected between nodes 2 and 3"});
}

} // namespace
} // namespace Tarnwick
