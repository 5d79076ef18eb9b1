#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarnwick::Test {

/// Every violation of the Graph storage invariants, one readable line each (empty when consistent):
/// no dangling adjacency keys; undirected edges engaged on both sides with equal features and attributes;
/// directed back-references only opposite an engaged edge and every edge mirrored by a key at its target;
/// feature vectors as long as their descriptor lists; numEdges() equal to the stored edges, to the edges
/// forEachEdge reports and to half the total degree sum (directed: also to the in- and out-degree sums);
/// maxNodeId() not below any id.
std::vector<std::string> graphInvariantViolations(const Graph& graph);

/// For EXPECT_TRUE(graphIsConsistent(g)): fails with the list of violations.
::testing::AssertionResult graphIsConsistent(const Graph& graph);

/// Equality of two feature vectors that treats NaN as equal to NaN.
bool sameFeatureValues(const std::vector<double>& a, const std::vector<double>& b);

} // namespace Tarnwick::Test
