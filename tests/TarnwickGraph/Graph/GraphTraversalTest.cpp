#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::EdgeList;
using Tarnwick::Test::makeGraph;

/// Visited ids, each with the reaching edge's first feature (-1 for none).
using Visits = std::vector<std::pair<unsigned long, double>>;

Visits sweep(const Graph& graph, unsigned long start, Graph::TraversalStrategy strategy) {
    Visits visits;
    graph.forEachNode(
        [&](unsigned long id, const Graph::NodeInfo&, const Graph::EdgeInfo* edge) {
            visits.push_back({id, edge ? edge->features[0] : -1.0});
        },
        start, strategy);
    return visits;
}

/// A graph whose edge u-v (u <= v) carries the first feature 10 * u + v, so reaching edges are identifiable.
std::unique_ptr<Graph> labelledGraph(Graph::Type type, unsigned long n, const EdgeList& edges) {
    auto graph = makeGraph(type, n, edges);
    graph->editEachEdge(
        [](Graph::EdgeInfo& edge, unsigned long u, unsigned long v) { edge.features[0] = 10.0 * u + v; });
    return graph;
}

TEST(GraphSweepTest, BreadthAndDepthFirstOrders) {
    auto star = labelledGraph(Graph::Undirected, 4, {{1, 2}, {1, 3}, {1, 4}});
    EXPECT_EQ(sweep(*star, 1, Graph::BreadthFirst), (Visits{{1, -1}, {2, 12}, {3, 13}, {4, 14}}));
    EXPECT_EQ(sweep(*star, 1, Graph::DepthFirst), (Visits{{1, -1}, {4, 14}, {3, 13}, {2, 12}}));
    EXPECT_EQ(sweep(*star, 1, static_cast<Graph::TraversalStrategy>(5)), sweep(*star, 1, Graph::DepthFirst));

    // Nodes are marked when scheduled: the triangle's edge 2-3 never reaches a node, and depth-first
    // visits 2 last, still by the edge from 1 that scheduled it.
    auto triangle = labelledGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {1, 3}, {3, 4}});
    EXPECT_EQ(sweep(*triangle, 1, Graph::BreadthFirst), (Visits{{1, -1}, {2, 12}, {3, 13}, {4, 34}}));
    EXPECT_EQ(sweep(*triangle, 1, Graph::DepthFirst), (Visits{{1, -1}, {3, 13}, {4, 34}, {2, 12}}));

    auto directed = labelledGraph(Graph::Directed, 3, {{1, 2}, {3, 2}});
    EXPECT_EQ(sweep(*directed, 2, Graph::BreadthFirst), (Visits{{2, -1}}));
    EXPECT_EQ(sweep(*directed, 1, Graph::DepthFirst), (Visits{{1, -1}, {2, 12}}));
}

TEST(GraphEdgeSweepTest, EditingKeepsUndirectedCopiesEqualAndConformed) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 3}});
    graph->editEachEdge([](Graph::EdgeInfo& edge, unsigned long, const Graph::NodeInfo&, unsigned long v,
                           const Graph::NodeInfo& target) {
        edge.features = {target.position.x(), 1.0};
        edge.attributes.setParam("to", static_cast<int>(v));
    });
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{2.0});
    EXPECT_EQ(graph->edge(3, 2)->attributes.paramOr<int>("to", 0), 3);
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));

    graph->getOrCreateNodeFeatureIdx("degree", -1.0);
    graph->editEachNode([](unsigned long, Graph::NodeInfo& info, const Graph::Neighborhood& adjacency) {
        info.features = {static_cast<double>(adjacency.size()), 99.0};
    });
    std::vector<double> degrees;
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& info) { degrees.push_back(info.features.at(0)); });
    EXPECT_EQ(degrees, (std::vector<double>{1.0, 2.0, 2.0}));
}

TEST(GraphTraverseTest, ChooserSeesUnvisitedOutNeighbours) {
    auto chain = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}});
    std::vector<unsigned long> at;
    std::vector<std::vector<unsigned long>> offered;
    chain->traverse(1,
                    [&](unsigned long id, const Graph::NodeInfo&, const std::vector<const Graph::NodeInfo*>& nodes,
                        const std::vector<unsigned long>& ids) -> const Graph::NodeInfo* {
                        at.push_back(id);
                        offered.push_back(ids);
                        return nodes.empty() ? nullptr : nodes.front();
                    });
    EXPECT_EQ(at, (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_EQ(offered, (std::vector<std::vector<unsigned long>>{{2}, {3}, {}}));

    // Square with a chord, always taking the largest candidate: never revisits.
    auto square = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {3, 4}, {4, 1}, {1, 3}});
    at.clear();
    square->traverse(1,
                     [&](unsigned long id, const Graph::NodeInfo&,
                         const std::vector<const Graph::NodeInfo*>& nodes) -> const Graph::NodeInfo* {
                         at.push_back(id);
                         return nodes.empty() ? nullptr : nodes.back();
                     });
    EXPECT_EQ(at, (std::vector<unsigned long>{1, 4, 3, 2}));
}

} // namespace
} // namespace Tarnwick
