#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/GraphRecord.h>

namespace Tarnwick {

GraphTarnwickFilePlugin::GraphTarnwickFilePlugin(unsigned int typeId, unsigned int offset)
    : m_typeId(typeId), m_offset(offset) {}

Data* GraphTarnwickFilePlugin::loadInstance(unsigned int typeId, unsigned int) {
    // Ownership passes to the container, which wraps the pointer at once.
    return typeId == m_typeId ? new Graph(Graph::Undirected, Graph::Dim3D) : nullptr;
}

unsigned int GraphTarnwickFilePlugin::saveType(const Data* data) {
    return dynamic_cast<const Graph*>(data) ? m_typeId + m_offset : 0;
}

bool GraphTarnwickFilePlugin::save(Data* data, std::ostream& out, Progress*) {
    const auto* graph = dynamic_cast<const Graph*>(data);
    return graph && GraphRecord::write(*graph, out);
}

bool GraphTarnwickFilePlugin::load(unsigned int, Data* data, std::istream& in, Progress*) {
    auto* graph = dynamic_cast<Graph*>(data);
    if (!graph) {
        TW_LOG_ERROR("A graph record can only be read into a graph");
        return false;
    }
    return GraphRecord::read(*graph, in);
}

} // namespace Tarnwick
