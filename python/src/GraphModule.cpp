// tarnwick._graph: reads and builds the graph plug-in's graphs as NumPy arrays. It links the plug-in's
// library, so it must be imported after tarnwick._tarnwick has loaded the plug-in through the host's
// PluginManager: the dynamic loader then binds it to that same loaded library.
#include "GraphArrays.h"
#include "HostCalls.h"

#include <TarnwickGraph/Graph/GraphUtils.h>

#include <pybind11/eigen.h>
#include <pybind11/stl.h>

namespace py = pybind11;
using namespace Tarnwick;
using namespace Tarnwick::Python;

namespace {

const Graph& graphOf(const DataPtr& data) {
    const auto* graph = dynamic_cast<const Graph*>(data.get());
    if (!graph)
        throw std::invalid_argument("The data set is not a graph");
    return *graph;
}

} // namespace

PYBIND11_MODULE(_graph, module) {
    module.doc() = "Graphs of the graph plug-in as NumPy arrays (internal; use tarnwick.Graph)";
    py::module_::import("tarnwick._tarnwick"); // the Data type

    module.def(
        "is_graph", [](const DataPtr& data) { return dynamic_cast<const Graph*>(data.get()) != nullptr; },
        py::arg("data"), "Whether the data set is a graph");
    module.def(
        "is_directed", [](const DataPtr& data) { return graphOf(data).type() == Graph::Directed; }, py::arg("graph"),
        "Whether the graph is directed");
    module.def(
        "node_ids", [](const DataPtr& data) { return GraphArrays::nodeIds(graphOf(data)); }, py::arg("graph"),
        "Node ids in ascending order (uint64)");
    module.def(
        "world_positions", [](const DataPtr& data) { return GraphArrays::worldPositions(graphOf(data)); },
        py::arg("graph"), "World positions (N x 3, LPS) in node id order");
    module.def(
        "edges", [](const DataPtr& data) { return GraphArrays::edges(graphOf(data)); }, py::arg("graph"),
        "Edge end ids (M x 2)");
    module.def(
        "node_features", [](const DataPtr& data) { return GraphArrays::nodeFeatures(graphOf(data)); }, py::arg("graph"),
        "Node feature columns by name");
    module.def(
        "edge_features", [](const DataPtr& data) { return GraphArrays::edgeFeatures(graphOf(data)); }, py::arg("graph"),
        "Edge feature columns by name, in edge order");
    module.def(
        "from_arrays",
        [](const py::array_t<std::uint64_t>& ids, const py::array_t<double>& positions,
           const py::array_t<std::uint64_t>& edges, const GraphArrays::Columns& nodeFeatures,
           const GraphArrays::Columns& edgeFeatures, bool directed) -> DataPtr {
            return GraphArrays::fromArrays(ids, positions, edges, nodeFeatures, edgeFeatures, directed);
        },
        py::arg("ids"), py::arg("positions"), py::arg("edges"), py::arg("node_features"), py::arg("edge_features"),
        py::arg("directed"), "A new graph (positions in world LPS coordinates)");
    module.def(
        "world_copy",
        [](const DataPtr& data) -> DataPtr {
            std::shared_ptr<Graph> copy = graphOf(data).clone();
            GraphUtils::transformNodePositions(*copy, copy->matrixToWorld());
            copy->setMatrixToWorld(Eigen::Matrix4d::Identity());
            return copy;
        },
        py::arg("graph"), "A copy whose node positions are world positions (LPS) with an identity matrix");
}
