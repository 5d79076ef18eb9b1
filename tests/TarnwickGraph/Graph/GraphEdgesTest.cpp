// Edge semantics beyond what the random-edit model checks: exact records, mirrors and back-references.
#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::edgeWith;
using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;

TEST(GraphUndirectedEdgeTest, ReAddingKeepsTheFirstRecordAndEditsReachBothCopies) {
    auto graph = makeGraph(Graph::Undirected, 3, {{2, 3}});
    graph->addEdge(1, 2, edgeWith(5.0));
    graph->addEdge(2, 1, edgeWith(7.0));
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{5.0});
    EXPECT_EQ(graph->numEdges(), 2u);
    EXPECT_EQ(graph->degree(1, Graph::In), 1u);

    graph->editEdge(2, 1, [](Graph::EdgeInfo& edge) {
        edge.features = {3.0, 4.0}; // too long: conformed to one column
        edge.attributes.setParam("kind", std::string("artery"));
    });
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{3.0});
    EXPECT_EQ(graph->edge(1, 2)->attributes.paramOr<std::string>("kind", ""), "artery");
    graph->editEdge(1, 3, [](Graph::EdgeInfo&) { FAIL() << "missing edge edited"; });
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphDirectedEdgeTest, BackReferencesAndOverwriting) {
    auto graph = makeGraph(Graph::Directed, 2, {});
    graph->addEdge(1, 2, edgeWith(1.0));
    EXPECT_FALSE(graph->edge(2, 1).has_value());
    EXPECT_EQ(graph->neighborhood(2).count(1), 1u);
    EXPECT_EQ(graph->degree(2, Graph::In), 1u);
    EXPECT_EQ(graph->degree(2, Graph::Out), 0u);
    EXPECT_EQ(graph->degree(2, static_cast<Graph::DegreeType>(7)), 0u);
    graph->addEdge(1, 2, edgeWith(2.0)); // unlike undirected edges, overwritten
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{2.0});

    graph->addEdge(2, 1, edgeWith(4.0)); // engages the back-reference
    graph->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[0] = 8.0; });
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{4.0});
    EXPECT_EQ(graph->degree(1, Graph::Total), 2u);
    EXPECT_TRUE(graphIsConsistent(*graph));

    // Removing one of two opposite edges leaves its entry as the other's back-reference.
    graph->removeEdge(1, 2);
    EXPECT_EQ(graph->neighborhood(1).count(2), 1u);
    EXPECT_FALSE(graph->edge(1, 2).has_value());
    graph->removeEdge(1, 2); // no edge 1 -> 2 any more: the edge 2 -> 1 stays
    EXPECT_TRUE(graph->edge(2, 1).has_value());
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_TRUE(graphIsConsistent(*graph));
}

} // namespace
} // namespace Tarnwick
