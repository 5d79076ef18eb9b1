#include <TarnwickGraph/Plugin/GraphDataAnnotationFactory.h>

#include <TarnwickGraph/Graph/Graph.h>

#include <fmt/format.h>

namespace Tarnwick {

std::string GraphDataAnnotationFactory::dataDescription(const Data& data) const {
    const auto* graph = dynamic_cast<const Graph*>(&data);
    return graph ? fmt::format("Graph with {} nodes and {} edges", graph->numNodes(), graph->numEdges())
                 : std::string();
}

Data* GraphDataAnnotationFactory::cloneData(const Data* data) const {
    const auto* graph = dynamic_cast<const Graph*>(data);
    return graph ? graph->clone().release() : nullptr; // the host takes ownership
}

} // namespace Tarnwick
