#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <gtest/gtest.h>

#include <tuple>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;

/// Y shape: chain 1-2-3-4, branch node 4 with arms 4-5-6 and 4-7.
std::unique_ptr<Graph> makeY() {
    return makeGraph(Graph::Undirected, 7, {{1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 6}, {4, 7}});
}

void setFirstFeature(Graph& graph, unsigned long u, unsigned long v, double value) {
    graph.editEdge(u, v, [&](Graph::EdgeInfo& edge) { edge.features[0] = value; });
}

TEST(GraphLinearPathTest, WalksStopAtBranchesLeavesLoopsAndSelfLoops) {
    auto y = makeY();
    EXPECT_EQ(GraphUtils::traversePath(*y, 1, 2), (std::vector<unsigned long>{1, 2, 3, 4}));
    EXPECT_EQ(GraphUtils::traversePath(*y, 2, 3), (std::vector<unsigned long>{2, 3, 4}));
    EXPECT_EQ(GraphUtils::traversePath(*y, 4, 5), (std::vector<unsigned long>{4, 5, 6}));
    EXPECT_EQ(GraphUtils::traversePath(*y, 4, 7), (std::vector<unsigned long>{4, 7}));
    EXPECT_TRUE(GraphUtils::traversePath(*y, 1, 3).empty());
    EXPECT_TRUE(GraphUtils::traversePath(*y, 99, 1).empty());

    auto loop = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 1}});
    EXPECT_EQ(GraphUtils::traversePath(*loop, 1, 3), (std::vector<unsigned long>{1, 3, 2, 1}));
    auto selfLoop = makeGraph(Graph::Undirected, 2, {{1, 2}, {2, 2}});
    EXPECT_EQ(GraphUtils::traversePath(*selfLoop, 1, 2), (std::vector<unsigned long>{1, 2}));
}

TEST(GraphLinearPathTest, DirectedWalksReadEdgesAgainstTheirDirection) {
    auto graph = makeGraph(Graph::Directed, 3, {});
    graph->addEdge(1, 2, Tarnwick::Test::edgeWith(4.0));
    graph->addEdge(3, 2, Tarnwick::Test::edgeWith(6.0));
    const GraphUtils::LinearPath path = GraphUtils::collectLinearPathFeatures(*graph, 1, 2, 0);
    EXPECT_EQ(path.nodes, (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_EQ(path.values, (std::vector<double>{4.0, 6.0}));
    const auto aggregated = GraphUtils::aggregateLinearPathFeatures(*graph, 3, 2, 0, GraphUtils::avgReduction);
    EXPECT_EQ(aggregated.nodes, (std::vector<unsigned long>{3, 2, 1}));
    EXPECT_EQ(aggregated.value, 5.0);

    Tarnwick::Test::LogCapture log;
    EXPECT_TRUE(GraphUtils::collectLinearPathFeatures(*graph, 1, 2, 3).nodes.empty());
    EXPECT_EQ(log.errors().size(), 1u);
}

TEST(GraphSegmentAccumulationTest, SumsRunBetweenBranchesAndLeaves) {
    // Y with edge values 1 .. 6: segments 1-2-3-4 (1 + 2 + 3), 4-5-6 (4 + 5) and 4-7 (6).
    auto y = makeY();
    double value = 1.0;
    for (auto [u, v] : {std::pair{1ul, 2ul}, {2ul, 3ul}, {3ul, 4ul}, {4ul, 5ul}, {5ul, 6ul}, {4ul, 7ul}})
        setFirstFeature(*y, u, v, value++);
    const int out = GraphUtils::accumulateFeatureAlongSegments(*y, GraphUtils::sumReduction, 0, "sum");
    for (auto [u, v, sum] :
         {std::tuple{1ul, 2ul, 6.0}, {3ul, 4ul, 6.0}, {4ul, 5ul, 9.0}, {5ul, 6ul, 9.0}, {4ul, 7ul, 6.0}})
        EXPECT_EQ(y->edge(u, v)->features[out], sum) << u << "-" << v;

    // A closed loop without branches is one segment.
    auto loop = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 1}}, 2.0);
    const int loopOut = GraphUtils::accumulateFeatureAlongSegments(*loop, GraphUtils::sumReduction, 0, "sum");
    loop->forEachEdge(
        [&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) { EXPECT_EQ(edge.features[loopOut], 6.0); });
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*loop));
}

TEST(GraphClampSmoothTest, ClampsEachSegmentAroundItsMedian) {
    auto chain = makeGraph(Graph::Undirected, 5, {{1, 2}, {2, 3}, {3, 4}, {4, 5}});
    const std::vector<double> values{1.0, 10.0, 1.0, 0.5};
    for (unsigned long i = 1; i <= 4; ++i)
        setFirstFeature(*chain, i, i + 1, values[i - 1]);
    ASSERT_TRUE(GraphUtils::clampAndSmoothEdgeFeature(*chain, 0, true, std::nullopt, 1.1));
    EXPECT_DOUBLE_EQ(chain->edge(1, 2)->features[0], 1.0);
    EXPECT_DOUBLE_EQ(chain->edge(2, 3)->features[0], 1.1);
    EXPECT_DOUBLE_EQ(chain->edge(4, 5)->features[0], 1.0 / 1.1);

    // A negative median swaps the bounds; a closed loop is one segment.
    auto loop = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 1}}, -2.0);
    setFirstFeature(*loop, 3, 1, -8.0);
    ASSERT_TRUE(GraphUtils::clampAndSmoothEdgeFeature(*loop, 0, true, std::nullopt, 1.1));
    EXPECT_DOUBLE_EQ(loop->edge(1, 3)->features[0], -2.2);
    EXPECT_DOUBLE_EQ(loop->edge(1, 2)->features[0], -2.0);
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*loop));
}

TEST(GraphClampSmoothTest, SlidingMeanUsesJunctionValuesAndOldValues) {
    // A chain 1-2-3-4-5 with values 0, 3, 6, 9 and no junctions: windows are cut at its ends.
    const auto smoothChain = [](int width) {
        auto chain = makeGraph(Graph::Undirected, 5, {{1, 2}, {2, 3}, {3, 4}, {4, 5}});
        for (unsigned long i = 1; i <= 4; ++i)
            setFirstFeature(*chain, i, i + 1, 3.0 * (i - 1));
        EXPECT_TRUE(GraphUtils::clampAndSmoothEdgeFeature(*chain, 0, false, width, 0.0));
        std::vector<double> values;
        chain->forEachEdge(
            [&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) { values.push_back(edge.features[0]); });
        return values;
    };
    EXPECT_EQ(smoothChain(3), (std::vector<double>{1.5, 3.0, 6.0, 7.5}));
    EXPECT_EQ(smoothChain(2), (std::vector<double>{1.5, 4.5, 7.5, 9.0})); // the extra position lies ahead
    EXPECT_EQ(smoothChain(1), (std::vector<double>{0.0, 3.0, 6.0, 9.0}));

    auto y = makeY();
    for (auto [u, v, value] : {std::tuple{1ul, 2ul, 2.0},
                               {2ul, 3ul, 2.0},
                               {3ul, 4ul, 2.0},
                               {4ul, 5ul, 8.0},
                               {5ul, 6ul, 8.0},
                               {4ul, 7ul, 5.0}})
        setFirstFeature(*y, u, v, value);
    ASSERT_TRUE(GraphUtils::clampAndSmoothEdgeFeature(*y, 0, false, 3, 1.1));
    EXPECT_DOUBLE_EQ(y->edge(3, 4)->features[0], (2.0 + 2.0 + 6.5) / 3); // junction: mean of 8 and 5
    EXPECT_DOUBLE_EQ(y->edge(4, 5)->features[0], (3.5 + 8.0 + 8.0) / 3); // junction: old 2 and 5
    EXPECT_DOUBLE_EQ(y->edge(4, 7)->features[0], 5.0);                   // junction mean of 2 and 8
    EXPECT_DOUBLE_EQ(y->edge(5, 6)->features[0], 8.0);
    EXPECT_DOUBLE_EQ(y->edge(1, 2)->features[0], 2.0);
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*y));
}

} // namespace
} // namespace Tarnwick
