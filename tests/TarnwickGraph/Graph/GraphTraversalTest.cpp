#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::edgeWith;
using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;

struct Visit {
    unsigned long id;
    std::optional<double> reachedBy; ///< first feature of the reaching edge
    bool operator==(const Visit& o) const { return id == o.id && reachedBy == o.reachedBy; }
};

std::ostream& operator<<(std::ostream& os, const Visit& v) {
    return os << v.id << "(" << (v.reachedBy ? std::to_string(*v.reachedBy) : "null") << ")";
}

std::vector<Visit> sweep(const Graph& graph, unsigned long start, Graph::TraversalStrategy strategy) {
    std::vector<Visit> visits;
    graph.forEachNode(
        [&](unsigned long id, const Graph::NodeInfo&, const Graph::EdgeInfo* edge) {
            visits.push_back({id, edge ? std::optional<double>(edge->features[0]) : std::nullopt});
        },
        start, strategy);
    return visits;
}

/// Gives every edge u-v the first feature 10 * u + v (u <= v), so the reaching edge is identifiable.
void labelEdges(Graph& graph) {
    graph.editEachEdge([](Graph::EdgeInfo& edge, unsigned long u, unsigned long v) {
        edge.features[0] = 10.0 * static_cast<double>(u) + static_cast<double>(v);
    });
}

TEST(GraphSweepTest, StarOrdersBreadthAndDepthFirst) {
    auto star = makeGraph(Graph::Undirected, 4, {{1, 2}, {1, 3}, {1, 4}});
    labelEdges(*star);
    EXPECT_EQ(sweep(*star, 1, Graph::BreadthFirst),
              (std::vector<Visit>{{1, std::nullopt}, {2, 12.0}, {3, 13.0}, {4, 14.0}}));
    EXPECT_EQ(sweep(*star, 1, Graph::DepthFirst),
              (std::vector<Visit>{{1, std::nullopt}, {4, 14.0}, {3, 13.0}, {2, 12.0}}));
    EXPECT_EQ(sweep(*star, 1, static_cast<Graph::TraversalStrategy>(5)), sweep(*star, 1, Graph::DepthFirst));
}

TEST(GraphSweepTest, NodesAreMarkedWhenScheduled) {
    // Triangle 1-2-3 with a tail 3-4: the edge 2-3 is never used to reach a node.
    auto graph = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {1, 3}, {3, 4}});
    labelEdges(*graph);
    EXPECT_EQ(sweep(*graph, 1, Graph::BreadthFirst),
              (std::vector<Visit>{{1, std::nullopt}, {2, 12.0}, {3, 13.0}, {4, 34.0}}));
    // Depth-first: 3 is popped first; 2 was scheduled by 1 and keeps the edge 1-2.
    EXPECT_EQ(sweep(*graph, 1, Graph::DepthFirst),
              (std::vector<Visit>{{1, std::nullopt}, {3, 13.0}, {4, 34.0}, {2, 12.0}}));
}

TEST(GraphSweepTest, DirectedSweepsFollowEdgeDirection) {
    auto graph = makeGraph(Graph::Directed, 3, {{1, 2}, {3, 2}}, 7.0);
    EXPECT_EQ(sweep(*graph, 2, Graph::BreadthFirst), (std::vector<Visit>{{2, std::nullopt}}));
    EXPECT_EQ(sweep(*graph, 1, Graph::DepthFirst), (std::vector<Visit>{{1, std::nullopt}, {2, 7.0}}));
    std::vector<unsigned long> ids;
    graph->forEachNode([&](unsigned long id, const Graph::NodeInfo&) { ids.push_back(id); }, 3, Graph::BreadthFirst);
    EXPECT_EQ(ids, (std::vector<unsigned long>{3, 2}));
}

TEST(GraphSweepTest, UnknownStartThrowsAndEmptyCallbackFails) {
    auto graph = makeGraph(Graph::Undirected, 2, {{1, 2}});
    try {
        sweep(*graph, 9, Graph::BreadthFirst);
        ADD_FAILURE() << "no exception";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "map::at");
    }
    EXPECT_THROW(graph->forEachNode(Graph::NodeFn()), std::bad_function_call);
    EXPECT_THROW(graph->forEachEdge(Graph::EdgeIdsFn()), std::bad_function_call);
}

TEST(GraphEdgeSweepTest, EachEdgeOnceInSourceOrder) {
    auto undirected = makeGraph(Graph::Undirected, 5, {{5, 2}, {1, 1}, {3, 1}, {2, 1}});
    std::vector<std::pair<unsigned long, unsigned long>> reported;
    undirected->forEachEdge([&](const Graph::EdgeInfo&, unsigned long u, unsigned long v) {
        reported.push_back({u, v});
    });
    EXPECT_EQ(reported, (Tarnwick::Test::EdgeList{{1, 1}, {1, 2}, {1, 3}, {2, 5}}));

    auto directed = makeGraph(Graph::Directed, 3, {{3, 1}, {1, 3}, {2, 1}, {2, 2}});
    reported.clear();
    directed->forEachEdge([&](const Graph::EdgeInfo&, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        reported.push_back({static_cast<unsigned long>(a.position.x()), static_cast<unsigned long>(b.position.x())});
    });
    EXPECT_EQ(reported, (Tarnwick::Test::EdgeList{{1, 3}, {2, 1}, {2, 2}, {3, 1}}));
}

TEST(GraphEdgeSweepTest, EditingKeepsUndirectedCopiesEqualAndConformed) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 3}});
    graph->editEachEdge([](Graph::EdgeInfo& edge, const Graph::NodeInfo&, const Graph::NodeInfo&) {
        edge.features = {3.0, 1.0};
    });
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{3.0});
    EXPECT_EQ(graph->edge(3, 2)->features, std::vector<double>{3.0});
    graph->editEachEdge([](Graph::EdgeInfo& edge, unsigned long u, const Graph::NodeInfo&, unsigned long v,
                           const Graph::NodeInfo& target) {
        edge.attributes.setParam("to", static_cast<int>(v));
        edge.features[0] = target.position.x();
    });
    EXPECT_EQ(graph->edge(2, 1)->attributes.paramOr<int>("to", 0), 2);
    EXPECT_EQ(graph->edge(3, 2)->features[0], 3.0);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphNodeSweepTest, EditingConformsFeaturesAndSeesAdjacency) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}});
    graph->getOrCreateNodeFeatureIdx("degree", -1.0);
    graph->editEachNode([](unsigned long, Graph::NodeInfo& info, const Graph::Neighborhood& adjacency) {
        info.features = {static_cast<double>(adjacency.size()), 99.0};
    });
    std::vector<double> degrees;
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& info) { degrees.push_back(info.features.at(0)); });
    EXPECT_EQ(degrees, (std::vector<double>{1.0, 2.0, 1.0}));
    graph->editEachNode([](unsigned long id, Graph::NodeInfo& info) { info.features.clear(); });
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphTraverseTest, FirstCandidateWalkAlongAChain) {
    auto chain = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}});
    std::vector<unsigned long> at;
    std::vector<std::vector<unsigned long>> offered;
    chain->traverse(1,
                    [&](unsigned long id, const Graph::NodeInfo&, const std::vector<const Graph::NodeInfo*>& nodes,
                        const std::vector<unsigned long>& ids) -> const Graph::NodeInfo* {
                        EXPECT_EQ(nodes.size(), ids.size());
                        at.push_back(id);
                        offered.push_back(ids);
                        return nodes.empty() ? nullptr : nodes.front();
                    });
    EXPECT_EQ(at, (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_EQ(offered, (std::vector<std::vector<unsigned long>>{{2}, {3}, {}}));
}

TEST(GraphTraverseTest, WalkNeverRevisitsAndStopsOnForeignPointers) {
    // Square 1-2-3-4-1 with a chord 1-3; always taking the largest candidate.
    auto graph = makeGraph(Graph::Undirected, 4, {{1, 2}, {2, 3}, {3, 4}, {4, 1}, {1, 3}});
    std::vector<unsigned long> path;
    graph->traverse(1,
                    [&](unsigned long id, const Graph::NodeInfo&,
                        const std::vector<const Graph::NodeInfo*>& nodes) -> const Graph::NodeInfo* {
                        path.push_back(id);
                        return nodes.empty() ? nullptr : nodes.back();
                    });
    EXPECT_EQ(path, (std::vector<unsigned long>{1, 4, 3, 2}));

    int calls = 0;
    Graph::NodeInfo foreign;
    graph->traverse(1, [&](const std::vector<const Graph::NodeInfo*>&) {
        ++calls;
        return &foreign;
    });
    EXPECT_EQ(calls, 1);
    graph->traverse(42, [&](const std::vector<const Graph::NodeInfo*>&) -> const Graph::NodeInfo* {
        ADD_FAILURE() << "chooser called for an unknown start";
        return nullptr;
    });
}

TEST(GraphTraverseTest, DirectedWalkOffersOnlyOutNeighbours) {
    auto graph = makeGraph(Graph::Directed, 3, {{2, 1}, {2, 3}});
    std::vector<std::vector<unsigned long>> offered;
    for (unsigned long start : {1ul, 2ul}) {
        graph->traverse(start,
                        [&](unsigned long, const Graph::NodeInfo&, const std::vector<const Graph::NodeInfo*>&,
                            const std::vector<unsigned long>& ids) -> const Graph::NodeInfo* {
                            offered.push_back(ids);
                            return nullptr;
                        });
    }
    EXPECT_EQ(offered, (std::vector<std::vector<unsigned long>>{{}, {1, 3}}));
}

} // namespace
} // namespace Tarnwick
