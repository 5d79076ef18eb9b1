// Node-to-edge feature transfer: one sweep over the adjacency lists writes combine(value at one end,
// value at the other end) into an edge column (GraphUtils::transformNodeFeatureToEdge). O(N + E log d),
// d the largest degree; no extra memory besides the new column.

#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <cmath>
#include <functional>

namespace Tarnwick {

NodeToEdgeFeatureAlgorithm::NodeToEdgeFeatureAlgorithm(Graph& graph) : m_graph(graph) {
    mode.setAttribute("values", "Sum, Difference, Average");
}

bool NodeToEdgeFeatureAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    if (graphs.size() != 1)
        return false;
    if (out)
        *out = new NodeToEdgeFeatureAlgorithm(*graphs.front());
    return true;
}

std::string NodeToEdgeFeatureAlgorithm::outputFeatureName(Mode mode) {
    switch (mode) {
    case Sum:
        return "NodeFeatureSum";
    case Difference:
        return "NodeFeatureDifference";
    case Average:
        return "NodeFeatureAverage";
    }
    return {};
}

void NodeToEdgeFeatureAlgorithm::compute() {
    if (m_graph.nodeFeatureDescriptors().empty()) {
        TW_LOG_ERROR("No node features found.");
        setStatus(InvalidInput);
        return;
    }
    std::optional<int> column = m_graph.getNodeFeatureIdx(nodeFeatureName);
    if (!column)
        column = nodeFeatureIndex.value();
    if (!column || *column < 0 || *column >= static_cast<int>(m_graph.nodeFeatureDescriptors().size())) {
        TW_LOG_ERROR("Selected node feature does not exist.");
        setStatus(InvalidInput);
        return;
    }

    std::function<double(double, double)> combine;
    switch (mode.value()) {
    case Sum:
        combine = [](double a, double b) { return a + b; };
        break;
    case Difference:
        if (m_graph.type() == Graph::Directed)
            combine = [](double source, double target) { return source - target; };
        else
            combine = [](double a, double b) { return std::abs(a - b); };
        break;
    case Average:
        combine = [](double a, double b) { return (a + b) * 0.5; };
        break;
    }
    if (combine)
        GraphUtils::transformNodeFeatureToEdge(m_graph, static_cast<unsigned long>(*column), combine,
                                               outputFeatureName(mode));
    setStatus(Success);
}

} // namespace Tarnwick
