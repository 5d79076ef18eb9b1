#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <pybind11/numpy.h>

#include <map>
#include <memory>
#include <string>

namespace Tarnwick::Python {

/// A Graph as NumPy arrays and back. Positions are world coordinates in the host's LPS frame (node
/// positions mapped by the graph's matrixToWorld); rows follow ascending node ids, edges the order of
/// Graph::forEachEdge (undirected edges from their smaller id).
namespace GraphArrays {

using Columns = std::map<std::string, pybind11::array_t<double>>;

/// Node ids (uint64, N).
pybind11::array_t<std::uint64_t> nodeIds(const Graph& graph);
/// World positions (float64, N x 3, LPS).
pybind11::array_t<double> worldPositions(const Graph& graph);
/// Edge end ids (uint64, M x 2).
pybind11::array_t<std::uint64_t> edges(const Graph& graph);
/// One float64 array per node feature (N) or edge feature (M), by name (the first of equal names).
Columns nodeFeatures(const Graph& graph);
Columns edgeFeatures(const Graph& graph);

/// A new graph from arrays: `ids` (N, distinct), `positions` (N x 3 world LPS, stored with an identity
/// matrixToWorld), `edges` (M x 2 ids present in `ids`), feature columns of N or M values. Throws
/// std::invalid_argument, naming the problem, for shapes or ids that do not fit.
std::unique_ptr<Graph> fromArrays(const pybind11::array_t<std::uint64_t>& ids,
                                  const pybind11::array_t<double>& positions,
                                  const pybind11::array_t<std::uint64_t>& edges, const Columns& nodeFeatures,
                                  const Columns& edgeFeatures, bool directed);

} // namespace GraphArrays
} // namespace Tarnwick::Python
