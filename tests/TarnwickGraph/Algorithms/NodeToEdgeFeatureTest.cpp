#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"
#include <TarnwickLib/Image/SharedImageSet.h>

#include <TarnwickGraph/Plugin/GraphPluginFactory.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

/// A random graph of the given type whose nodes carry "a" (column 0) and "b" (column 1).
std::unique_ptr<Graph> graphWithNodeValues(Graph::Type type, std::uint32_t seed) {
    auto graph = std::make_unique<Graph>(type, Graph::Dim3D);
    graph->addNodeFeatureDescriptors({{"a", 0.0}, {"b", 0.0}});
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-10.0, 10.0);
    for (int i = 0; i < 30; ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {value(random), value(random)}));
    std::uniform_int_distribution<unsigned long> pick(1, 30);
    for (int i = 0; i < 60; ++i)
        graph->addEdge(pick(random), pick(random), Graph::EdgeInfo{});
    return graph;
}

double nodeValue(const Graph& graph, unsigned long id, int column) {
    double result = NAN;
    graph.forEachNode([&](unsigned long node, const Graph::NodeInfo& info) {
        if (node == id)
            result = info.features[static_cast<std::size_t>(column)];
    });
    return result;
}

} // namespace

TEST(NodeToEdgeFeature, RegisteredInTheCatalogue) {
    GraphPluginFactory factory;
    const auto* entry = factory.entry("NodeToEdgeFeature");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->menuName, "Graph;Node To Edge Feature");
    Graph graph(Graph::Undirected, Graph::Dim3D);
    const std::unique_ptr<Algorithm> algorithm = factory.create("NodeToEdgeFeature", DataList{&graph});
    EXPECT_NE(dynamic_cast<NodeToEdgeFeatureAlgorithm*>(algorithm.get()), nullptr);
}

TEST(NodeToEdgeFeature, SelectionMustHoldExactlyOneGraph) {
    Graph a(Graph::Undirected, Graph::Dim3D), b(Graph::Undirected, Graph::Dim3D);
    SharedImageSet images;
    EXPECT_TRUE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{&a}, nullptr));
    EXPECT_TRUE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{&images, &a}, nullptr));
    EXPECT_FALSE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{&a, &b}, nullptr));
    EXPECT_FALSE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{&images}, nullptr));
    EXPECT_FALSE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{}, nullptr));

    Algorithm* created = nullptr;
    ASSERT_TRUE(NodeToEdgeFeatureAlgorithm::createCompatible(DataList{&images, &b}, &created));
    std::unique_ptr<Algorithm> owned(created);
    auto* algorithm = dynamic_cast<NodeToEdgeFeatureAlgorithm*>(owned.get());
    ASSERT_NE(algorithm, nullptr);
    EXPECT_EQ(algorithm->mode.attribute("values"), "Sum, Difference, Average");
    EXPECT_EQ(algorithm->nodeFeatureName.value(), "no feature selected");
    EXPECT_FALSE(algorithm->nodeFeatureIndex.value().has_value());
}

TEST(NodeToEdgeFeature, RefusesGraphsWithoutTheFeatureAndLeavesThemUnchanged) {
    LogCapture log;
    auto bare = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    NodeToEdgeFeatureAlgorithm noFeatures(*bare);
    noFeatures.nodeFeatureIndex = 0;
    noFeatures.compute();
    EXPECT_EQ(noFeatures.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("No node features found.", Log::Error));

    auto graph = graphWithNodeValues(Graph::Undirected, 1);
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

class NodeToEdgeFeatureModes
    : public ::testing::TestWithParam<std::tuple<NodeToEdgeFeatureAlgorithm::Mode, Graph::Type>> {};

TEST_P(NodeToEdgeFeatureModes, EveryEdgeCombinesItsEndValues) {
    const auto [mode, type] = GetParam();
    auto graph = graphWithNodeValues(type, 7);
    NodeToEdgeFeatureAlgorithm algorithm(*graph);
    algorithm.mode = mode;
    algorithm.nodeFeatureName = "b";
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);

    const auto column = graph->getEdgeFeatureIdx(NodeToEdgeFeatureAlgorithm::outputFeatureName(mode));
    ASSERT_TRUE(column);
    int checked = 0;
    graph->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        const double source = nodeValue(*graph, from, 1);
        const double target = nodeValue(*graph, to, 1);
        double expected = 0.0;
        if (mode == NodeToEdgeFeatureAlgorithm::Sum)
            expected = source + target;
        else if (mode == NodeToEdgeFeatureAlgorithm::Average)
            expected = (source + target) / 2.0;
        else
            expected = type == Graph::Directed ? source - target : std::abs(source - target);
        EXPECT_NEAR(edge.features[static_cast<std::size_t>(*column)], expected, 1e-12) << from << " -> " << to;
        ++checked;
    });
    EXPECT_EQ(checked, static_cast<int>(graph->numEdges()));
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));
}

INSTANTIATE_TEST_SUITE_P(AllModes, NodeToEdgeFeatureModes,
                         ::testing::Combine(::testing::Values(NodeToEdgeFeatureAlgorithm::Sum,
                                                              NodeToEdgeFeatureAlgorithm::Difference,
                                                              NodeToEdgeFeatureAlgorithm::Average),
                                            ::testing::Values(Graph::Directed, Graph::Undirected)));

TEST(NodeToEdgeFeature, DifferenceSignFollowsTheEdgeDirection) {
    for (Graph::Type type : {Graph::Undirected, Graph::Directed}) {
        Graph graph(type, Graph::Dim3D);
        graph.addNodeFeatureDescriptors({{"radius", 0.0}});
        graph.addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {2.0}));
        graph.addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {5.0}));
        graph.addEdge(1, 2, Graph::EdgeInfo{});
        NodeToEdgeFeatureAlgorithm algorithm(graph);
        algorithm.mode = NodeToEdgeFeatureAlgorithm::Difference;
        algorithm.nodeFeatureIndex = 0; // the name stays "no feature selected"
        algorithm.compute();
        const int column = *graph.getEdgeFeatureIdx("NodeFeatureDifference");
        EXPECT_DOUBLE_EQ(graph.edge(1, 2)->features[static_cast<std::size_t>(column)],
                         type == Graph::Directed ? -3.0 : 3.0);
    }
}

TEST(NodeToEdgeFeature, RunningAgainReusesTheColumn) {
    auto graph = graphWithNodeValues(Graph::Undirected, 3);
    NodeToEdgeFeatureAlgorithm algorithm(*graph);
    algorithm.nodeFeatureName = "a";
    algorithm.compute();
    const std::size_t columns = graph->edgeFeatureDescriptors().size();
    algorithm.nodeFeatureName = "b";
    algorithm.compute();
    EXPECT_EQ(graph->edgeFeatureDescriptors().size(), columns);
    const int column = *graph->getEdgeFeatureIdx("NodeFeatureSum");
    graph->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        EXPECT_NEAR(edge.features[static_cast<std::size_t>(column)],
                    nodeValue(*graph, from, 1) + nodeValue(*graph, to, 1), 1e-12);
    });
}
