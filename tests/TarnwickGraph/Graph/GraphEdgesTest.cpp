#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::edgeWith;
using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;

TEST(GraphUndirectedEdgeTest, ReAddingKeepsTheFirstRecordOnBothCopies) {
    auto graph = makeGraph(Graph::Undirected, 2, {});
    graph->addEdge(1, 2, edgeWith(5.0));
    graph->addEdge(2, 1, edgeWith(7.0));
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{5.0});
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{5.0});
    EXPECT_EQ(graph->numEdges(), 1u);
    for (auto type : {Graph::Total, Graph::In, Graph::Out})
        EXPECT_EQ(graph->degree(1, type), 1u);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphUndirectedEdgeTest, SelfLoopIsStoredOnceAndCountsTwiceInDegree) {
    auto graph = makeGraph(Graph::Undirected, 2, {{1, 1}});
    EXPECT_EQ(graph->neighborhood(1).size(), 1u);
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_EQ(graph->degree(1, Graph::Total), 2u);
    graph->addEdge(1, 2, {});
    EXPECT_EQ(graph->degree(1, Graph::In), 3u);
    EXPECT_EQ(graph->numEdges(), 2u);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphUndirectedEdgeTest, EditingEitherDirectionUpdatesBothCopies) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}});
    graph->editEdge(2, 1, [](Graph::EdgeInfo& edge) {
        edge.features = {3.0, 4.0}; // too long: conformed to one column
        edge.attributes.setParam("kind", std::string("artery"));
    });
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{3.0});
    EXPECT_EQ(*graph->edge(1, 2), *graph->edge(2, 1));
    EXPECT_EQ(graph->edge(1, 2)->attributes.paramOr<std::string>("kind", ""), "artery");
    graph->editEdge(1, 3, [](Graph::EdgeInfo&) { FAIL() << "missing edge edited"; });
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphUndirectedEdgeTest, MissingEndpointThrowsBeforeAnythingIsStored) {
    for (auto type : {Graph::Undirected, Graph::Directed}) {
        auto graph = makeGraph(type, 1, {});
        for (auto [from, to] : {std::pair{1ul, 9ul}, std::pair{9ul, 1ul}}) {
            try {
                graph->addEdge(from, to, {});
                ADD_FAILURE() << "no exception for " << from << " -> " << to;
            } catch (const std::out_of_range& e) {
                EXPECT_STREQ(e.what(), "map::at");
            }
        }
        EXPECT_TRUE(graph->neighborhood(1).empty());
        EXPECT_EQ(graph->numEdges(), 0u);
    }
}

TEST(GraphDirectedEdgeTest, EdgeIsEngagedAtSourceAndBackReferencedAtTarget) {
    auto graph = makeGraph(Graph::Directed, 2, {});
    graph->addEdge(1, 2, edgeWith(1.0));
    EXPECT_TRUE(graph->edge(1, 2).has_value());
    EXPECT_FALSE(graph->edge(2, 1).has_value());
    EXPECT_EQ(graph->neighborhood(2).count(1), 1u);
    EXPECT_EQ(graph->degree(2, Graph::In), 1u);
    EXPECT_EQ(graph->degree(2, Graph::Out), 0u);
    EXPECT_EQ(graph->degree(2, Graph::Total), 1u);
    EXPECT_EQ(graph->degree(1, Graph::Out), 1u);
    EXPECT_EQ(graph->degree(1, static_cast<Graph::DegreeType>(7)), 0u);
    EXPECT_EQ(graph->numEdges(), 1u);

    // Unlike an undirected edge, a directed edge is overwritten when added again.
    graph->addEdge(1, 2, edgeWith(2.0));
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{2.0});
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphDirectedEdgeTest, ReverseEdgeEngagesTheBackReference) {
    auto graph = makeGraph(Graph::Directed, 2, {{1, 2}});
    graph->addEdge(2, 1, edgeWith(4.0));
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{4.0});
    EXPECT_EQ(graph->numEdges(), 2u);
    EXPECT_EQ(graph->degree(1, Graph::In), 1u);
    EXPECT_EQ(graph->degree(1, Graph::Total), 2u);
    // Editing one direction leaves the other alone.
    graph->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[0] = 8.0; });
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{4.0});
    graph->editEdge(2, 1, [](Graph::EdgeInfo&) {});
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphDirectedEdgeTest, SelfLoopCountsOnceInEachDirection) {
    auto graph = makeGraph(Graph::Directed, 1, {{1, 1}});
    EXPECT_EQ(graph->degree(1, Graph::In), 1u);
    EXPECT_EQ(graph->degree(1, Graph::Out), 1u);
    EXPECT_EQ(graph->degree(1, Graph::Total), 2u);
    EXPECT_EQ(graph->numEdges(), 1u);
    graph->removeEdge(1, 1);
    EXPECT_TRUE(graph->neighborhood(1).empty());
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphEdgeRemovalTest, RemovingOneOfTwoOppositeEdgesLeavesABackReference) {
    auto graph = makeGraph(Graph::Directed, 2, {{1, 2}, {2, 1}});
    graph->removeEdge(1, 2);
    EXPECT_EQ(graph->neighborhood(1).count(2), 1u);
    EXPECT_FALSE(graph->edge(1, 2).has_value());
    EXPECT_TRUE(graph->edge(2, 1).has_value());
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_TRUE(graphIsConsistent(*graph));

    // Removing the direction that no longer exists keeps the surviving edge.
    graph->removeEdge(1, 2);
    EXPECT_TRUE(graph->edge(2, 1).has_value());
    graph->removeEdge(2, 1);
    EXPECT_TRUE(graph->neighborhood(1).empty());
    EXPECT_TRUE(graph->neighborhood(2).empty());
    EXPECT_EQ(graph->numEdges(), 0u);
}

TEST(GraphEdgeRemovalTest, UndirectedRemovalDropsBothCopiesAndIgnoresUnknowns) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 3}});
    graph->removeEdge(2, 1);
    graph->removeEdge(3, 3);
    graph->removeEdge(1, 3);
    graph->removeEdge(1, 42);
    EXPECT_TRUE(graph->neighborhood(1).empty());
    EXPECT_EQ(graph->neighborhood(3).size(), 1u);
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphNodeRemovalTest, HubRemovalClearsInAndOutEntriesEverywhere) {
    auto graph = makeGraph(Graph::Directed, 5, {{1, 2}, {3, 1}, {1, 4}, {4, 1}, {1, 1}, {4, 5}});
    graph->removeNode(1);
    graph->removeNode(77);
    EXPECT_EQ(graph->numNodes(), 4u);
    for (unsigned long id : {2ul, 3ul, 4ul})
        EXPECT_EQ(graph->neighborhood(id).count(1), 0u) << id;
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_TRUE(graph->neighborhood(1).empty());
    EXPECT_FALSE(graph->edge(1, 2).has_value());
    EXPECT_EQ(graph->degree(1, Graph::Total), 0u);
    EXPECT_TRUE(graphIsConsistent(*graph));

    auto undirected = makeGraph(Graph::Undirected, 4, {{1, 2}, {1, 3}, {1, 1}, {3, 4}});
    undirected->removeNode(1);
    EXPECT_EQ(undirected->numEdges(), 1u);
    EXPECT_EQ(undirected->maxNodeId(), 4u);
    EXPECT_TRUE(graphIsConsistent(*undirected));
}

} // namespace
} // namespace Tarnwick
