#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "../TubeMask.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

using Edge = std::pair<unsigned long, unsigned long>;

/// An undirected graph on nodes 1..n with the listed edges, each carrying the edge feature "weight".
std::unique_ptr<Graph> weightedGraph(int n, const std::vector<std::pair<Edge, double>>& edges,
                                     const std::string& feature = "weight") {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    const int column = graph->getOrCreateEdgeFeatureIdx(feature, 0.0);
    for (int i = 1; i <= n; ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d(i, i % 3, 0), {}));
    for (const auto& [edge, value] : edges) {
        Graph::EdgeInfo info;
        info.features.assign(graph->edgeFeatureDescriptors().size(), 0.0);
        info.features[static_cast<std::size_t>(column)] = value;
        graph->addEdge(edge.first, edge.second, info);
    }
    return graph;
}

std::unique_ptr<Graph> runMst(Graph& graph, MinimumSpanningTreeAlgorithm::WeightMode mode,
                              const std::string& feature = "", bool prune = false, int* status = nullptr) {
    MinimumSpanningTreeAlgorithm algorithm(graph, nullptr);
    algorithm.weightMode = mode;
    algorithm.edgeFeatureName = feature;
    algorithm.pruneBySegment = prune;
    algorithm.compute();
    if (status)
        *status = algorithm.status();
    OwningDataList output = algorithm.takeOutput();
    return output.extractFirst<Graph>();
}

std::set<Edge> edgeSet(const Graph& graph) {
    std::set<Edge> result;
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long a, unsigned long b) { result.insert({a, b}); });
    return result;
}

} // namespace

TEST(MinimumSpanningTree, CutsTheCycleEdgeWithTheLargestKey) {
    // UserDefined keys are 1 / value: values 1, 0.5, 1/3 give keys 1, 2, 3.
    auto triangle = weightedGraph(3, {{{1, 2}, 1.0}, {{2, 3}, 0.5}, {{1, 3}, 1.0 / 3.0}});
    auto tree = runMst(*triangle, MinimumSpanningTreeAlgorithm::UserDefined, "weight");
    ASSERT_TRUE(tree);
    EXPECT_EQ(edgeSet(*tree), (std::set<Edge>{{1, 2}, {2, 3}}));
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*tree));
    EXPECT_EQ(triangle->numEdges(), 3u) << "the input keeps its edges";
    EXPECT_FALSE(triangle->getEdgeFeatureIdx("mstSortKey")) << "the input gets no key column";

    // A zero diameter gets key 100 and is cut before any measured edge.
    auto diameters = weightedGraph(3, {{{1, 2}, 2.0}, {{2, 3}, 1.0}, {{1, 3}, 0.0}}, "diameter");
    tree = runMst(*diameters, MinimumSpanningTreeAlgorithm::Diameter);
    ASSERT_TRUE(tree);
    EXPECT_EQ(edgeSet(*tree), (std::set<Edge>{{1, 2}, {2, 3}}));
    EXPECT_DOUBLE_EQ(tree->edge(1, 2)->features[static_cast<std::size_t>(*tree->getEdgeFeatureIdx("mstSortKey"))], 0.5);

    // A disconnected graph gives one tree per component.
    auto forest = weightedGraph(5, {{{1, 2}, 1.0}, {{2, 3}, 0.5}, {{1, 3}, 0.25}, {{4, 5}, 1.0}});
    tree = runMst(*forest, MinimumSpanningTreeAlgorithm::UserDefined, "weight");
    ASSERT_TRUE(tree);
    EXPECT_EQ(edgeSet(*tree), (std::set<Edge>{{1, 2}, {2, 3}, {4, 5}}));

    // A tree stays as it is.
    auto path = weightedGraph(4, {{{1, 2}, 1.0}, {{2, 3}, 2.0}, {{3, 4}, 3.0}});
    tree = runMst(*path, MinimumSpanningTreeAlgorithm::UserDefined, "weight");
    EXPECT_EQ(edgeSet(*tree), edgeSet(*path));
}

TEST(MinimumSpanningTree, NanKeysAreConsideredLast) {
    auto square = weightedGraph(4, {{{1, 2}, NAN}, {{2, 3}, 1.0}, {{3, 4}, 1.0}, {{1, 4}, 1.0}, {{1, 3}, 2.0}});
    auto tree = runMst(*square, MinimumSpanningTreeAlgorithm::UserDefined, "weight");
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->numEdges(), 3u);
    EXPECT_FALSE(tree->edge(1, 2).has_value());
}

TEST(MinimumSpanningTree, SegmentPruningRemovesTheWholeCutChain) {
    // Main line 1-2-3-4-5-6 along x; a detour 3-7-8-9-10-5 makes a cycle with the short segment 3-4-5.
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    const Eigen::Vector3d points[] = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0},   {3, 0, 0},   {4, 0, 0},
                                      {5, 0, 0}, {2, 1, 0}, {2.5, 2, 0}, {3.5, 2, 0}, {4, 1, 0}};
    for (const auto& p : points)
        graph->addNode(Graph::NodeInfo(p, {}));
    for (const Edge& e :
         std::vector<Edge>{{1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 6}, {3, 7}, {7, 8}, {8, 9}, {9, 10}, {10, 5}})
        graph->addEdge(e.first, e.second, Graph::EdgeInfo{});

    auto pruned = runMst(*graph, MinimumSpanningTreeAlgorithm::EdgeLength, "", true);
    ASSERT_TRUE(pruned);
    EXPECT_FALSE(pruned->hasNode(4));
    for (unsigned long kept : {1, 2, 3, 5, 6, 7, 8, 9, 10})
        EXPECT_TRUE(pruned->hasNode(kept)) << kept;
    EXPECT_TRUE(GraphUtils::isAcyclic(*pruned));
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*pruned));
    EXPECT_TRUE(pruned->getEdgeFeatureIdx("accumulatedFeature"));

    // Without pruning only one edge of the short segment goes.
    auto cut = runMst(*graph, MinimumSpanningTreeAlgorithm::EdgeLength, "", false);
    EXPECT_EQ(cut->numNodes(), 10u);
    EXPECT_EQ(cut->numEdges(), 9u);

    // An isolated ring, once cut, is a chain between two leaves with no branching node: all of it goes.
    auto ring = weightedGraph(5, {{{1, 2}, 1.0}, {{2, 3}, 1.0}, {{3, 4}, 1.0}, {{4, 5}, 1.0}, {{5, 1}, 1.0}});
    auto opened = runMst(*ring, MinimumSpanningTreeAlgorithm::EdgeLength, "", true);
    EXPECT_EQ(opened->numNodes(), 0u);
}

TEST(MinimumSpanningTree, WeightedDiameterEdgeLengthPrefersLongThickEdges) {
    // Triangle with lengths 1.41 (1-2), 2.24 (2-3), 2.24 (1-3): the thin edge 1-3 gets the largest key.
    auto graph = weightedGraph(3, {{{1, 2}, 3.0}, {{2, 3}, 3.0}, {{1, 3}, 0.5}}, "diameter");
    auto tree = runMst(*graph, MinimumSpanningTreeAlgorithm::WeightedDiameterEdgeLength);
    ASSERT_TRUE(tree);
    EXPECT_EQ(edgeSet(*tree), (std::set<Edge>{{1, 2}, {2, 3}}));
    EXPECT_TRUE(tree->getEdgeFeatureIdx("length"));
    tree = runMst(*graph, MinimumSpanningTreeAlgorithm::WeightedDiameterEdgeLength, "", true);
    EXPECT_TRUE(tree->getEdgeFeatureIdx("accumulatedEdgeLengths"));
}

TEST(MinimumSpanningTree, ReportsEveryFailure) {
    LogCapture log;
    int status = -1;
    Graph directed(Graph::Directed, Graph::Dim3D);
    EXPECT_FALSE(runMst(directed, MinimumSpanningTreeAlgorithm::EdgeLength, "", false, &status));
    EXPECT_EQ(status, Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("This algorithm only works for undirected graphs.", Log::Error));

    auto graph = weightedGraph(3, {{{1, 2}, 1.0}, {{2, 3}, 1.0}});
    const auto expectKeyFailure = [&](MinimumSpanningTreeAlgorithm::WeightMode mode, const std::string& feature,
                                      const std::string& modeLine, const std::string& message) {
        log.clear();
        EXPECT_FALSE(runMst(*graph, mode, feature, false, &status));
        EXPECT_EQ(status, Algorithm::InvalidInput);
        EXPECT_EQ(log.errors(), (std::vector<std::string>{message, "Failed to build MST keys."}));
        EXPECT_TRUE(log.contains(modeLine, Log::Info));
    };
    expectKeyFailure(MinimumSpanningTreeAlgorithm::UserDefined, "thickness", "Mode: UserDefined.",
                     "Edge feature 'thickness' not found.");
    expectKeyFailure(MinimumSpanningTreeAlgorithm::Diameter, "", "Mode: Diameter.",
                     "Diameter edge feature is missing or empty; provide a label map to compute it.");

    graph->removeEdgeFeatures(std::vector<std::string>{"diameter"});
    expectKeyFailure(MinimumSpanningTreeAlgorithm::WeightedDiameterEdgeLength, "", "Mode: WeightedDiameterEdgeLength.",
                     "Diameter edge feature is missing; provide a label map to compute it.");

    graph->clearFeatureDescriptors();
    expectKeyFailure(MinimumSpanningTreeAlgorithm::UserDefined, "weight", "Mode: UserDefined.",
                     "No edge features available for user-defined weights.");
}

TEST(MinimumSpanningTree, DiametersComeFromTheLabelMapWhenMissing) {
    // A triangle inside the 1 mm tube around the x axis, without diameters.
    auto graph = Tarnwick::Test::makeChain({{-1.5, 0, 0}, {0, 0.2, 0}, {1.5, 0, 0}});
    graph->addEdge(1, 3, Graph::EdgeInfo{});
    SharedImageSet labels(Tarnwick::Test::tubeMask(PixelType::UInt8, Eigen::Matrix4d::Identity()));
    MinimumSpanningTreeAlgorithm algorithm(*graph, &labels);
    algorithm.weightMode = MinimumSpanningTreeAlgorithm::Diameter;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    const auto tree = algorithm.takeOutput().extractFirst<Graph>();
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->numEdges(), 2u);
    tree->forEachEdge([](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        EXPECT_GT(edge.features[0], 0.5) << "measured in a tube of diameter 2";
    });
    graph->forEachEdge([](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        EXPECT_EQ(edge.features[0], 0.0) << "the input keeps its features";
    });
}
