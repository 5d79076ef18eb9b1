#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarnwick::Test {

/// Every difference between two graphs, one readable line each (empty when equal): type, dimension,
/// maxNodeId, world matrix, both descriptor lists, the node ids with position, features and attributes,
/// and every edge with features and attributes. NaN features compare equal to NaN.
std::vector<std::string> graphDifferences(const Graph& expected, const Graph& actual);

/// For EXPECT_TRUE(graphsEqual(a, b)): fails with the list of differences.
::testing::AssertionResult graphsEqual(const Graph& expected, const Graph& actual);

/// The differences of the node and edge content only, pairing the nodes of both graphs by their
/// position in ascending id order (for formats that renumber nodes): positions, features, edges as
/// pairs of node ranks and edge features. Attributes, ids and feature defaults are not compared.
std::vector<std::string> contentDifferences(const Graph& expected, const Graph& actual);

::testing::AssertionResult sameContent(const Graph& expected, const Graph& actual);

} // namespace Tarnwick::Test
