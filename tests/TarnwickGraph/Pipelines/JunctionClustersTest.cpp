#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/GraphSummary.h>
#include <TarnwickGraph/Pipelines/JunctionClusters.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

// A skeleton junction: the triangle a-b-c of junction nodes with one arm each (a-x, b-y, c-z), and d of
// degree 2 closing a second triangle on a-b. Three arms meet in one branch point, and there is no cycle.
TEST(JunctionClusters, MergingAClusterLeavesOneBranchPointAndTheSameSummary) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    const auto node = [&](double x, double y) { return graph.addNode(Graph::NodeInfo({x, y, 0}, {})); };
    const unsigned long a = node(0, 0), b = node(1, 0), c = node(0.5, 1), d = node(0.5, -1);
    const unsigned long x = node(-3, 0), y = node(4, 0), z = node(0.5, 4);
    const int diameter = *graph.getEdgeFeatureIdx("diameter");
    for (auto [from, to] : {std::pair{a, b}, {b, c}, {c, a}, {a, d}, {d, b}, {a, x}, {b, y}, {c, z}}) {
        Graph::EdgeInfo edge(std::vector<double>{});
        graph.fixEdgeInfo(edge);
        edge.features[diameter] = double(to);
        graph.addEdge(from, to, edge);
    }
    const GraphSummary before = summarizeGraph(graph);
    EXPECT_EQ(before.branchPoints, 1u);
    EXPECT_EQ(before.cycles, 0);

    EXPECT_EQ(JunctionClusters::mergeInto(graph), 3u);
    ASSERT_EQ(graph.numNodes(), 4u);
    ASSERT_EQ(graph.numEdges(), 3u);
    const unsigned long merged = graph.maxNodeId();
    EXPECT_EQ(graph.degree(merged, Graph::Total), 3u);
    // Each arm keeps the edge it had: its feature identifies the arm's outer node.
    for (unsigned long arm : {x, y, z})
        EXPECT_EQ(graph.edge(merged, arm)->features[diameter], double(arm));
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& info) {
        if (id == merged) {
            EXPECT_TRUE(info.position.isApprox(Eigen::Vector3d(0.5, 0, 0)));
        }
    });
    const GraphSummary after = summarizeGraph(graph);
    EXPECT_EQ(after.branchPoints, 1u);
    EXPECT_EQ(after.endpoints, before.endpoints);
    EXPECT_EQ(after.cycles, 0);
}

} // namespace
} // namespace Tarnwick
