#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include <pthread.h>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;
using Tarnwick::Test::nodeAt;

TEST(GraphLeavesTest, LeavesHaveTotalDegreeOne) {
    EXPECT_EQ(GraphUtils::findLeafNodes(*makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}})),
              (std::vector<unsigned long>{1, 3}));
    EXPECT_EQ(GraphUtils::findLeafNodes(*makeGraph(Graph::Undirected, 2, {{1, 2}})),
              (std::vector<unsigned long>{1, 2}));
    EXPECT_TRUE(GraphUtils::findLeafNodes(*makeGraph(Graph::Undirected, 1, {})).empty());
    EXPECT_TRUE(GraphUtils::findLeafNodes(*makeGraph(Graph::Undirected, 1, {{1, 1}})).empty());
    // Directed: in- and out-edges both count; opposite edges make degree 2.
    EXPECT_EQ(GraphUtils::findLeafNodes(*makeGraph(Graph::Directed, 5, {{1, 2}, {3, 2}, {4, 5}, {5, 4}})),
              (std::vector<unsigned long>{1, 3}));
}

TEST(GraphAcyclicTest, UndirectedSenseForBothTypes) {
    EXPECT_FALSE(GraphUtils::isAcyclic(*makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 1}})));
    EXPECT_TRUE(GraphUtils::isAcyclic(*makeGraph(Graph::Undirected, 5, {{1, 2}, {1, 3}, {3, 4}})));
    EXPECT_TRUE(GraphUtils::isAcyclic(*makeGraph(Graph::Directed, 3, {{1, 2}, {2, 3}})));
    EXPECT_TRUE(GraphUtils::isAcyclic(*makeGraph(Graph::Directed, 4, {{3, 2}, {2, 1}, {4, 2}})));
    EXPECT_FALSE(GraphUtils::isAcyclic(*makeGraph(Graph::Directed, 3, {{1, 2}, {1, 3}, {3, 2}})));
    EXPECT_FALSE(GraphUtils::isAcyclic(*makeGraph(Graph::Directed, 2, {{1, 2}, {2, 1}})));
    EXPECT_FALSE(GraphUtils::isAcyclic(*makeGraph(Graph::Undirected, 2, {{1, 2}, {2, 2}})));
    EXPECT_FALSE(GraphUtils::isAcyclic(*makeGraph(Graph::Directed, 1, {{1, 1}})));
    EXPECT_TRUE(GraphUtils::isAcyclic(Graph(Graph::Undirected, Graph::Dim3D)));
}

/// Runs fn on a thread with a small stack, so unbounded recursion would crash.
void runWithSmallStack(const std::function<void()>& fn) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    auto call = [](void* arg) -> void* {
        (*static_cast<const std::function<void()>*>(arg))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, call, const_cast<std::function<void()>*>(&fn)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(GraphAcyclicTest, LongChainsDoNotExhaustTheStack) {
    // 200,000 nodes deep on a 256 KiB stack is a harder test than a million on the usual 8 MiB.
    for (auto type : {Graph::Undirected, Graph::Directed}) {
        Graph chain(type, Graph::Dim3D);
        const unsigned long n = 200000;
        for (unsigned long i = 1; i <= n; ++i) {
            chain.addNode(nodeAt(static_cast<double>(i)));
            if (i > 1)
                chain.addEdge(i, i - 1, {}); // directed: every edge points back towards the root
        }
        bool acyclic = false, closed = true;
        runWithSmallStack([&] {
            acyclic = GraphUtils::isAcyclic(chain);
            chain.addEdge(1, n, {});
            closed = GraphUtils::isAcyclic(chain);
        });
        EXPECT_TRUE(acyclic);
        EXPECT_FALSE(closed);
    }
}

TEST(GraphArgmaxTest, TiesGoToTheSmallestIdAndNaNNeverWins) {
    auto graph = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}});
    EXPECT_EQ(GraphUtils::argmaxNode(*graph, [](const Graph::NodeInfo&) { return -1e308; }), 1u);
    const auto byDegree = [](unsigned long, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        return static_cast<double>(adjacency.size());
    };
    EXPECT_EQ(GraphUtils::argmaxNode(*graph, byDegree), 2u);
    const auto nanFirst = [](const Graph::NodeInfo& info) {
        return info.position.x() < 2 ? std::numeric_limits<double>::quiet_NaN() : -info.position.x();
    };
    EXPECT_EQ(GraphUtils::argmaxNode(*graph, nanFirst), 2u);
    EXPECT_FALSE(GraphUtils::argmaxNode(Graph(Graph::Directed, Graph::Dim3D), byDegree));
}

TEST(GraphReductionTest, MeanSumAndMedian) {
    EXPECT_EQ(GraphUtils::avgReduction({}), 0.0);
    EXPECT_EQ(GraphUtils::avgReduction({1.0, 2.0, 6.0}), 3.0);
    EXPECT_EQ(GraphUtils::sumReduction({}), 0.0);
    EXPECT_EQ(GraphUtils::sumReduction({1.5, 2.5}), 4.0);
    EXPECT_EQ(GraphUtils::computeMedian({}), 0.0);
    EXPECT_TRUE(std::isnan(GraphUtils::computeMedian({1, std::numeric_limits<double>::quiet_NaN(), 3})));

    EXPECT_EQ(GraphUtils::computeMedian({3, 1, 2}), 2.0);
    EXPECT_EQ(GraphUtils::computeMedian({4, 1, 3, 2}), 2.5);
    EXPECT_EQ(GraphUtils::computeMedian({5, 5, 1, 5}), 5.0);
    EXPECT_EQ(GraphUtils::computeMedian({7}), 7.0);
}

} // namespace
} // namespace Tarnwick
