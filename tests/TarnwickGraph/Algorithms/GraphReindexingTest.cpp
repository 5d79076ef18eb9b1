#include <TarnwickGraph/Algorithms/GraphReindexingAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

/// A tree with scrambled ids: nodes are added at ids 50, 40, ..., edges carry "diameter" = 10 * the
/// smaller end's position rank, and the node feature "rank" holds the insertion rank.
std::unique_ptr<Graph> scrambledTree() {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    graph->addNodeFeatureDescriptors({{"rank", -1.0}});
    const unsigned long ids[] = {50, 40, 30, 20, 10, 60, 5};
    for (int i = 0; i < 7; ++i)
        graph->addOrReplaceNode(ids[i], Graph::NodeInfo(Eigen::Vector3d(i, i * i, 0), {double(i)}));
    // 50 - 40 - 30 - 20, 40 - 10, 30 - 60 - 5
    const std::pair<unsigned long, unsigned long> edges[] = {{50, 40}, {40, 30}, {30, 20}, {40, 10}, {30, 60}, {60, 5}};
    double diameter = 1.0;
    for (const auto& [a, b] : edges)
        graph->addEdge(a, b, Graph::EdgeInfo{{diameter++}});
    graph->setName("tree");
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement(1, 3) = -4.0;
    graph->setMatrix(placement);
    return graph;
}

/// Checks that `renumbered` holds the same nodes and edges as `original` (matched by position), that the
/// root became node 1, that ids are 1..N, and that every node but the root has a smaller-id neighbour
/// (true of any traversal order that starts at the root).
void expectRenumberedFrom(const Graph& original, const Graph& renumbered, unsigned long root) {
    ASSERT_EQ(renumbered.numNodes(), original.numNodes());
    ASSERT_EQ(renumbered.numEdges(), original.numEdges());
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(renumbered));
    EXPECT_EQ(renumbered.nodeFeatureDescriptors(), original.nodeFeatureDescriptors());
    EXPECT_EQ(renumbered.edgeFeatureDescriptors(), original.edgeFeatureDescriptors());
    EXPECT_TRUE(renumbered.matrix().isApprox(original.matrix()));

    std::map<unsigned long, unsigned long> oldToNew;
    std::map<unsigned long, Graph::NodeInfo> oldNodes;
    original.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { oldNodes.emplace(id, node); });
    unsigned long expectedId = 1;
    renumbered.forEachNode([&](unsigned long id, const Graph::NodeInfo& node, const Graph::Neighborhood& around) {
        EXPECT_EQ(id, expectedId++);
        for (const auto& [oldId, oldNode] : oldNodes)
            if (oldNode == node)
                oldToNew[oldId] = id;
        if (id != 1) {
            EXPECT_LT(around.begin()->first, id) << "node " << id << " has no earlier neighbour";
        }
    });
    ASSERT_EQ(oldToNew.size(), original.numNodes());
    EXPECT_EQ(oldToNew.at(root), 1u);
    original.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long a, unsigned long b) {
        const auto& copy = renumbered.edge(oldToNew.at(a), oldToNew.at(b));
        ASSERT_TRUE(copy.has_value());
        EXPECT_EQ(*copy, edge);
    });
}

} // namespace

TEST(GraphReindexing, ManualRootRenumbersIntoANewGraph) {
    auto graph = scrambledTree();
    const auto before = graph->clone();
    for (unsigned long root : {30ul, 5ul, 50ul}) {
        GraphReindexingAlgorithm algorithm(*graph);
        algorithm.rootIndex = root;
        algorithm.compute();
        ASSERT_EQ(algorithm.status(), Algorithm::Success);
        OwningDataList output = algorithm.takeOutput();
        ASSERT_EQ(output.size(), 1u);
        auto* renumbered = dynamic_cast<Graph*>(output.get(0));
        ASSERT_NE(renumbered, nullptr);
        EXPECT_EQ(renumbered->name(), "tree");
        expectRenumberedFrom(*graph, *renumbered, root);
    }
    EXPECT_EQ(graph->maxNodeId(), before->maxNodeId());
    EXPECT_TRUE(graph->hasNode(50));
}

TEST(GraphReindexing, LargestDiameterStartsAtTheThickestTerminalEdge) {
    auto graph = scrambledTree();
    // Terminal nodes: 50 (edge 50-40, diameter 1), 20 (3), 10 (4), 5 (6): node 5 wins.
    GraphReindexingAlgorithm algorithm(*graph);
    algorithm.mode = GraphReindexingAlgorithm::LargestDiameter;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    EXPECT_EQ(algorithm.rootIndex.value(), 5u);
    OwningDataList output = algorithm.takeOutput();
    expectRenumberedFrom(*graph, dynamic_cast<Graph&>(*output.get(0)), 5);
}

TEST(GraphReindexing, FailuresLeaveTheInputUntouched) {
    LogCapture log;
    auto graph = scrambledTree();
    std::unique_ptr<Graph> original = graph->clone();
    const auto expectFailure = [&](GraphReindexingAlgorithm& algorithm, int status, const std::string& message) {
        log.clear();
        algorithm.inPlace = true;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), status);
        EXPECT_TRUE(log.contains(message, Log::Error)) << message;
        EXPECT_TRUE(algorithm.output().empty());
        EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));
        EXPECT_EQ(Tarnwick::Test::positions(*graph), Tarnwick::Test::positions(*original));
    };

    GraphReindexingAlgorithm unknownRoot(*graph);
    unknownRoot.rootIndex = 7;
    expectFailure(unknownRoot, Algorithm::InvalidInput, "Invalid root node index selected.");

    graph->addNode(Graph::NodeInfo(Eigen::Vector3d(100, 0, 0), {}));
    original = graph->clone();
    GraphReindexingAlgorithm disconnected(*graph);
    disconnected.rootIndex = 30; // in the larger component
    expectFailure(disconnected, Algorithm::InvalidInput,
                  "GraphReindexingAlgorithm requires a connected graph. Please run Partition Graph first.");

    auto noDiameter = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    noDiameter->removeEdgeFeatures(std::vector<std::string>{"diameter"});
    GraphReindexingAlgorithm byDiameter(*noDiameter);
    byDiameter.mode = GraphReindexingAlgorithm::LargestDiameter;
    byDiameter.compute();
    EXPECT_EQ(byDiameter.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("No diameter feature found. Please compute diameter using Compute Features.", Log::Error));
}

TEST(GraphReindexing, TerminalNodeWithoutEdgeRecordIsReportedNotThrown) {
    LogCapture log;
    Graph graph(Graph::Directed, Graph::Dim3D);
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {}));
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d::Ones(), {}));
    graph.addEdge(1, 2, Graph::EdgeInfo{{2.0}}); // node 2 holds only the back-reference
    GraphReindexingAlgorithm algorithm(graph);
    algorithm.mode = GraphReindexingAlgorithm::LargestDiameter;
    EXPECT_NO_THROW(algorithm.compute());
    EXPECT_EQ(algorithm.status(), Algorithm::Error);
    EXPECT_EQ(log.errors().size(), 1u);
}
