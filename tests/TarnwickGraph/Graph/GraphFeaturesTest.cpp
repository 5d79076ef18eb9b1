#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tarnwick {
namespace {

using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;

std::vector<double> nodeFeatures(const Graph& graph, unsigned long id) {
    std::vector<double> features;
    graph.forEachNode([&](unsigned long node, const Graph::NodeInfo& info) {
        if (node == id)
            features = info.features;
    });
    return features;
}

TEST(GraphFeatureTest, NewColumnsFillEveryCopyOnceAndAreThenReused) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}});
    graph->addEdge(2, 3, Graph::EdgeInfo({0.5, 2.0, 3.0})); // conformed to one column
    EXPECT_EQ(graph->getOrCreateEdgeFeatureIdx("length", 1.0), 1);
    EXPECT_EQ(graph->edge(3, 2)->features, (std::vector<double>{0.5, 1.0}));
    EXPECT_EQ(graph->edge(1, 2)->features, (std::vector<double>{0.0, 1.0}));
    graph->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[1] = 6.0; });
    EXPECT_EQ(graph->getOrCreateEdgeFeatureIdx("length", 3.0), 1);
    EXPECT_EQ(graph->edge(2, 1)->features[1], 6.0);
    EXPECT_FALSE(graph->getEdgeFeatureIdx("Length").has_value());

    graph->addNodeFeatureDescriptors({{"x", 1.0}, {"y", 2.0}, {"x", 3.0}});
    EXPECT_EQ(graph->getNodeFeatureIdx("x"), 0);
    EXPECT_EQ(graph->getOrCreateNodeFeatureIdx("y", 9.0), 1);
    EXPECT_EQ(nodeFeatures(*graph, 3), (std::vector<double>{1.0, 2.0, 3.0}));
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphFeatureTest, RemovingColumnsKeepsTheOrderOfTheRest) {
    auto graph = makeGraph(Graph::Directed, 2, {});
    graph->addNodeFeatureDescriptors({{"a", 1.0}, {"b", 2.0}, {"c", 3.0}, {"d", 4.0}});
    graph->addEdgeFeatureDescriptors({{"length", 1.0}, {"area", 2.0}});
    graph->addEdge(1, 2, Graph::EdgeInfo({7.0, 8.0, 9.0}));
    graph->addEdge(2, 1, Graph::EdgeInfo({4.0, 5.0, 6.0}));

    graph->removeNodeFeatures(std::vector<unsigned long>{2, 0, 2, 99});
    EXPECT_EQ(nodeFeatures(*graph, 1), (std::vector<double>{2.0, 4.0}));
    EXPECT_EQ(graph->getNodeFeatureIdx("d"), 1);
    graph->removeNodeFeatures(std::vector<std::string>{"d", "nope"});
    EXPECT_EQ(nodeFeatures(*graph, 2), std::vector<double>{2.0});

    graph->removeEdgeFeatures(std::vector<std::string>{"length"});
    EXPECT_EQ(graph->edge(1, 2)->features, (std::vector<double>{7.0, 9.0}));
    EXPECT_EQ(graph->edge(2, 1)->features, (std::vector<double>{4.0, 6.0}));
    graph->removeEdgeFeatures(std::vector<unsigned long>{0});
    EXPECT_EQ(graph->edgeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"area", 2.0}}));
    EXPECT_TRUE(graphIsConsistent(*graph));

    graph->clearFeatureDescriptors();
    EXPECT_TRUE(graph->edgeFeatureDescriptors().empty());
    EXPECT_TRUE(graph->edge(2, 1)->features.empty());
    EXPECT_TRUE(nodeFeatures(*graph, 1).empty());
    EXPECT_TRUE(graphIsConsistent(*graph));
}

} // namespace
} // namespace Tarnwick
