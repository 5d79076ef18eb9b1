#include <TarnwickGraph/IO/GraphVtpIoAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/VtpWriter.h>

namespace Tarnwick {

GraphVtpIoAlgorithm::GraphVtpIoAlgorithm(const Graph& graph) : IoAlgorithm(Save), m_graph(graph) {}

bool GraphVtpIoAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const Graph* graph = data.size() == 1 ? dynamic_cast<const Graph*>(data[0]) : nullptr;
    if (!graph)
        return false;
    if (out)
        *out = new GraphVtpIoAlgorithm(*graph);
    return true;
}

void GraphVtpIoAlgorithm::compute() {
    std::string error;
    if (!VtpWriter::save(m_graph, location(), error)) {
        TW_LOG_ERROR("Failed to write the VTK PolyData file '{}': {}", location(), error);
        setStatus(Error);
        return;
    }
    setStatus(Success);
}

} // namespace Tarnwick
