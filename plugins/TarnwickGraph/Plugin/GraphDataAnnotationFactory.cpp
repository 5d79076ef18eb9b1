#include <TarnwickGraph/Plugin/GraphDataAnnotationFactory.h>

#include <TarnwickGraph/Graph/Graph.h>

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace Tarnwick {

namespace {

/// Range of the values of one feature column.
struct ValueRange {
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
    std::size_t nanCount = 0;

    void add(double value) {
        if (std::isnan(value)) {
            ++nanCount;
            return;
        }
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
    }
    std::string describe(double defaultValue) const {
        std::string text = minimum <= maximum ? fmt::format("{:.6g} to {:.6g}", minimum, maximum) : "no values";
        if (nanCount)
            text += fmt::format(", {} NaN", nanCount);
        return text + fmt::format(" (default {:.6g})", defaultValue);
    }
};

void addFeatureRanges(const char* kind, const std::vector<Graph::FeatureDescriptor>& descriptors,
                      const std::vector<ValueRange>& ranges, std::vector<std::pair<std::string, std::string>>& out) {
    for (std::size_t i = 0; i < descriptors.size(); ++i)
        out.emplace_back(fmt::format("{} feature '{}'", kind, descriptors[i].name),
                         ranges[i].describe(descriptors[i].defaultValue));
}

} // namespace

std::string GraphDataAnnotationFactory::dataDescription(const Data& data) const {
    const auto* graph = dynamic_cast<const Graph*>(&data);
    return graph ? fmt::format("Graph with {} nodes and {} edges", graph->numNodes(), graph->numEdges())
                 : std::string();
}

Data* GraphDataAnnotationFactory::cloneData(const Data* data) const {
    const auto* graph = dynamic_cast<const Graph*>(data);
    return graph ? graph->clone().release() : nullptr; // the host takes ownership
}

std::vector<std::pair<std::string, std::string>> GraphDataAnnotationFactory::dataAttributes(const Data& data) const {
    auto attributes = DataAnnotationFactory::dataAttributes(data);
    const auto* graph = dynamic_cast<const Graph*>(&data);
    if (!graph)
        return attributes;
    attributes.emplace_back("Type", graph->type() == Graph::Directed ? "Directed" : "Undirected");
    attributes.emplace_back("Dimension", graph->dimension() == Graph::Dim2D ? "2D" : "3D");
    attributes.emplace_back("Nodes", std::to_string(graph->numNodes()));
    attributes.emplace_back("Edges", std::to_string(graph->numEdges()));
    attributes.emplace_back("Largest node id", std::to_string(graph->maxNodeId()));

    std::vector<ValueRange> nodeRanges(graph->nodeFeatureDescriptors().size());
    std::vector<ValueRange> edgeRanges(graph->edgeFeatureDescriptors().size());
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
        for (std::size_t i = 0; i < nodeRanges.size(); ++i)
            nodeRanges[i].add(node.features[i]);
    });
    graph->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        for (std::size_t i = 0; i < edgeRanges.size(); ++i)
            edgeRanges[i].add(edge.features[i]);
    });
    addFeatureRanges("Node", graph->nodeFeatureDescriptors(), nodeRanges, attributes);
    addFeatureRanges("Edge", graph->edgeFeatureDescriptors(), edgeRanges, attributes);
    return attributes;
}

} // namespace Tarnwick
