#include "GraphTestGraphs.h"

#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tarnwick {
namespace {

using Test::makeGraph;

const Eigen::Vector4f magenta(1.0f, 0.0f, 1.0f, 1.0f);

TEST(GraphFeatureColorMapper, LooksUpTheRoundedEntryClampedToTheTable) {
    struct Case {
        double min, max, x;
        int entry;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Case cases[] = {
        {0.0, 4.0, 1.4, 1},    {0.0, 4.0, 1.5, 2},    {0.0, 4.0, 2.6, 3},  // interior: round(t)
        {10.0, 18.0, 13.0, 2}, {10.0, 18.0, 12.9, 1},                      // t = (x - min) / (max - min) * 4
        {0.0, 4.0, -7.0, 0},   {0.0, 4.0, 99.0, 4},   {0.0, 4.0, nan, 0},  // outside: end colours
        {3.0, 3.0, 3.0, 0},    {3.0, 3.0, 100.0, 0},  {3.0, 3.0, -1.0, 0}, // max == min: first entry
    };
    const auto table = Colormap::table(Colormap::Jet, 5);
    ASSERT_EQ(table.size(), 5u);
    for (const Case& c : cases) {
        const GraphFeatureColorMapper mapper(Colormap::Jet, 5, c.min, c.max);
        EXPECT_EQ(mapper(c.x), table[c.entry]) << "[" << c.min << ", " << c.max << "] x = " << c.x;
    }
}

TEST(GraphFeatureColorMapper, WithoutATableEverythingIsMagenta) {
    EXPECT_EQ(GraphFeatureColorMapper()(0.5), magenta);
    GraphFeatureColorMapper mapper(Colormap::Viridis, 256, 0.0, 1.0);
    EXPECT_NE(mapper(0.5), magenta);
    int changes = 0;
    mapper.signalChanged.connect([&] { ++changes; });
    mapper.update(Colormap::Viridis, 0, 0.0, 1.0);
    EXPECT_EQ(mapper(0.5), magenta);
    EXPECT_EQ(changes, 1);
}

TEST(GraphFeatureColorMapper, AGraphColouredByAFeatureGetsAMapperSpanningItsRange) {
    auto graph = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {3, 4}});
    int index = 0;
    graph->editEachEdge(
        [&](Graph::EdgeInfo& edge, unsigned long, unsigned long) { edge.features[0] = 2.0 + 3 * index++; });
    const int nodeFeature = graph->getOrCreateNodeFeatureIdx("degree", 0.0);
    graph->editEachNode([&](unsigned long id, Graph::NodeInfo& node) { node.features[nodeFeature] = -1.0 * id; });
    auto& colorOptions = graph->components().get<GraphDisplayOptions>()->featureColorMapOptions.value();

    // No colour feature, or one the graph lacks: no mapper.
    EXPECT_EQ(GraphFeatureColorMapper::getOrAddForFeature(*graph), nullptr);
    colorOptions.edgeFeatureName = std::string("length");
    EXPECT_EQ(GraphFeatureColorMapper::getOrAddForFeature(*graph), nullptr);
    EXPECT_EQ(graph->components().get<GraphFeatureColorMapper>(), nullptr);

    // The node feature when no edge feature is chosen, the edge feature before it.
    colorOptions.edgeFeatureName = std::nullopt;
    colorOptions.nodeFeatureName = std::string("degree");
    colorOptions.colormap = Colormap::Inferno;
    auto nodeRange = GraphFeatureColorMapper::forFeatureRange(*graph);
    ASSERT_TRUE(nodeRange);
    EXPECT_EQ(*nodeRange, GraphFeatureColorMapper(Colormap::Inferno, 256, -4.0, -1.0));
    colorOptions.edgeFeatureName = std::string("diameter");
    const GraphFeatureColorMapper* attached = GraphFeatureColorMapper::getOrAddForFeature(*graph);
    ASSERT_NE(attached, nullptr);
    EXPECT_EQ(attached, graph->components().get<GraphFeatureColorMapper>());
    EXPECT_EQ(*attached, GraphFeatureColorMapper(Colormap::Inferno, 256, 2.0, 8.0));

    // A mapper the data controller set up is kept as it is.
    graph->components().get<GraphFeatureColorMapper>()->update(Colormap::Jet, 256, 0.0, 100.0);
    EXPECT_EQ(GraphFeatureColorMapper::getOrAddForFeature(*graph)->max(), 100.0);
}

} // namespace
} // namespace Tarnwick
