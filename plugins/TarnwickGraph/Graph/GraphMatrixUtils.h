#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <Eigen/Core>
#include <Eigen/SparseCore>

#include <unordered_map>
#include <vector>

/// Matrix views of a Graph for linear-algebra algorithms (smoothing, spanning trees, spectral methods).
/// Rows and columns follow the sequential index: node ids in ascending order numbered 0 .. N-1.
namespace Tarnwick::GraphMatrixUtils {

/// The two directions of the sequential numbering.
struct SequentialIndex {
    std::unordered_map<unsigned long, int> idToIndex; ///< node id -> 0 .. N-1
    std::vector<unsigned long> indexToId;             ///< ascending ids
};

/// Numbers the nodes 0 .. N-1 in ascending id order. O(N).
SequentialIndex graphToSequentialIndex(const Graph& graph);

/// N x N adjacency matrix consistent with Graph::degree: undirected edges set (i, j) and (j, i) to 1 and a
/// self loop sets (i, i) to 2, so row sums are degrees; a directed edge u -> v sets (u, v) to 1 (a self
/// loop 1), so row sums are out-degrees and column sums in-degrees.
Eigen::SparseMatrix<double> adjacencyMatrix(const Graph& graph);

/// N x N diagonal matrix of Graph::degree(id, type).
Eigen::SparseMatrix<double> degreeMatrix(const Graph& graph, Graph::DegreeType type = Graph::Total);

/// N x 3 node positions in graph coordinates.
Eigen::MatrixX3d nodePositions(const Graph& graph);

/// Writes row i of positions to the node with sequential index i. Returns false, changing nothing and
/// logging an error, when the row count differs from the node count.
bool setNodePositions(Graph& graph, const Eigen::MatrixX3d& positions);

/// N x F node features, F the number of node feature descriptors.
Eigen::MatrixXd nodeFeatures(const Graph& graph);

} // namespace Tarnwick::GraphMatrixUtils
