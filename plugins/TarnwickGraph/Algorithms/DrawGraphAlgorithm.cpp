#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>

namespace Tarnwick {

DrawGraphAlgorithm::DrawGraphAlgorithm(Graph* graph) : m_graph(graph) {
    dimension.setAttribute("values", Graph::dimensionLabels);
    type.setAttribute("values", Graph::typeLabels);
}

DrawGraphAlgorithm::~DrawGraphAlgorithm() = default;

bool DrawGraphAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    Graph* graph = data.size() == 1 ? dynamic_cast<Graph*>(data[0]) : nullptr;
    if (!data.empty() && !graph)
        return false;
    if (out)
        *out = new DrawGraphAlgorithm(graph);
    return true;
}

void DrawGraphAlgorithm::compute() {
    setStatus(Success);
    if (m_graph)
        return;
    // The output holds at most the one graph of the latest run.
    m_output.clear();
    m_output.add(std::make_unique<Graph>(type.value(), dimension.value()));
}

} // namespace Tarnwick
