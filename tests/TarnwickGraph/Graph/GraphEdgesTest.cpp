// Undirected edge records beyond what the random-edit model checks: conformed features and attributes
// reaching both stored copies.
#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace Tarnwick
