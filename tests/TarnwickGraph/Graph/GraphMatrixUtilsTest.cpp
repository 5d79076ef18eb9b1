#include "GraphTestGraphs.h"

#include <TarnwickGraph/Graph/GraphMatrixUtils.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;

TEST(GraphMatrixTest, AdjacencyAndDegreeCountSelfLoopsAndDirections) {
    // Undirected: a self loop counts twice on the diagonal and in the degree.
    auto undirected = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 3}});
    Eigen::Matrix3d expected;
    expected << 0, 1, 0, 1, 0, 1, 0, 1, 2;
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::adjacencyMatrix(*undirected)), expected);
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*undirected)),
              Eigen::Vector3d(1, 2, 3).asDiagonal().toDenseMatrix());

    // Directed: rows are out-edges, columns in-edges; a self loop counts once each way.
    auto directed = makeGraph(Graph::Directed, 3, {{1, 2}, {2, 1}, {2, 3}, {3, 3}});
    expected << 0, 1, 0, 1, 0, 1, 0, 0, 1;
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::adjacencyMatrix(*directed)), expected);
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*directed)),
              Eigen::Vector3d(2, 3, 3).asDiagonal().toDenseMatrix());
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*directed, Graph::In)),
              Eigen::Vector3d(1, 1, 2).asDiagonal().toDenseMatrix());
}

} // namespace
} // namespace Tarnwick
