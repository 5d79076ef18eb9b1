#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;
using Tarnwick::Test::nodeAt;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// All-pairs distances by Floyd-Warshall over the first edge feature, nodes 1 .. n.
std::vector<std::vector<double>> allPairs(const Graph& graph, unsigned long n) {
    std::vector<std::vector<double>> d(n + 1, std::vector<double>(n + 1, infinity));
    for (unsigned long i = 1; i <= n; ++i)
        d[i][i] = 0.0;
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long u, unsigned long v) {
        d[u][v] = std::min(d[u][v], edge.features[0]);
        if (graph.type() == Graph::Undirected)
            d[v][u] = std::min(d[v][u], edge.features[0]);
    });
    for (unsigned long k = 1; k <= n; ++k)
        for (unsigned long i = 1; i <= n; ++i)
            for (unsigned long j = 1; j <= n; ++j)
                d[i][j] = std::min(d[i][j], d[i][k] + d[k][j]);
    return d;
}

/// Total weight of a path, failing the test when a step is not an edge in travel direction.
double pathWeight(const Graph& graph, const std::vector<unsigned long>& path) {
    double total = 0.0;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
        const auto& edge = graph.edge(path[i], path[i + 1]);
        if (!edge) {
            ADD_FAILURE() << "no edge " << path[i] << " -> " << path[i + 1];
            return infinity;
        }
        total += edge->features[0];
    }
    return total;
}

std::unique_ptr<Graph> randomWeightedGraph(std::mt19937& rng, Graph::Type type, unsigned long n) {
    auto graph = makeGraph(type, n, {});
    for (int e = static_cast<int>(rng() % (2 * n)); e > 0; --e)
        graph->addEdge(1 + rng() % n, 1 + rng() % n, Tarnwick::Test::edgeWith(static_cast<double>(rng() % 4)));
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

TEST(GraphShortestPathTest, AgreesWithFloydWarshallOnRandomGraphs) {
    std::mt19937 rng(5);
    for (int round = 0; round < 150; ++round) {
        const auto type = round % 2 ? Graph::Directed : Graph::Undirected;
        const unsigned long n = 1 + rng() % 8;
        auto graph = randomWeightedGraph(rng, type, n);
        const auto d = allPairs(*graph, n);
        const unsigned long s = 1 + rng() % n, t = 1 + rng() % n;

        const auto path = GraphUtils::shortestPath(*graph, s, t, "diameter");
        ASSERT_EQ(path.has_value(), d[s][t] < infinity) << "round " << round;
        if (path) {
            EXPECT_EQ(path->front(), s);
            EXPECT_EQ(path->back(), t);
            EXPECT_EQ(pathWeight(*graph, *path), d[s][t]);
        }
        const auto fromS = GraphUtils::singleSourceShortestPaths(*graph, s, "diameter");
        const auto toT = GraphUtils::singleTargetShortestPaths(*graph, t, "diameter");
        const auto fromPair = GraphUtils::multipleSourceShortestPaths(*graph, {s, t}, "diameter");
        const auto toPair = GraphUtils::multipleTargetShortestPaths(*graph, {s, t}, "diameter");
        ASSERT_TRUE(fromS && toT && fromPair && toPair);
        for (unsigned long v = 1; v <= n; ++v) {
            const auto distanceIn = [&](const GraphUtils::ShortestPathTree& tree) {
                auto it = tree.distances.find(v);
                return it == tree.distances.end() ? infinity : it->second;
            };
            EXPECT_EQ(distanceIn(*fromS), d[s][v]);
            EXPECT_EQ(distanceIn(*toT), d[v][t]);
            EXPECT_EQ(distanceIn(*fromPair), std::min(d[s][v], d[t][v]));
            EXPECT_EQ(distanceIn(*toPair), std::min(d[v][s], d[v][t]));
            if (d[s][v] < infinity) {
                const auto treePath = fromS->path(v);
                EXPECT_EQ(treePath.front(), s);
                EXPECT_EQ(pathWeight(*graph, treePath), d[s][v]);
            }
            if (d[v][t] < infinity) {
                const auto treePath = toT->path(v);
                EXPECT_EQ(treePath.back(), t);
                EXPECT_EQ(pathWeight(*graph, treePath), d[v][t]);
            }
        }
    }
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
