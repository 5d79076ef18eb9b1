// Graph reindexing: the root is chosen (given, or an arg-max over the terminal nodes' "diameter"), one
// depth-first sweep checks that every node is reachable, and a second one renumbers the nodes in visit
// order into a new graph. O((N + E) log N) time, one copy of the graph in memory.

#include <TarnwickGraph/Algorithms/GraphReindexingAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <limits>
#include <optional>
#include <string>
#include <unordered_map>

namespace Tarnwick {

namespace {

/// Replaces target's nodes, edges and descriptors by source's, keeping source's ids.
void replaceContent(Graph& target, const Graph& source) {
    std::vector<unsigned long> ids;
    ids.reserve(target.numNodes());
    target.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { ids.push_back(id); });
    for (unsigned long id : ids)
        target.removeNode(id);
    GraphUtils::copyFeatureDescriptors(source, target);
    source.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { target.addOrReplaceNode(id, node); });
    source.forEachEdge(
        [&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) { target.addEdge(from, to, edge); });
    target.setMatrix(source.matrix());
}

} // namespace

GraphReindexingAlgorithm::GraphReindexingAlgorithm(Graph& graph) : m_graph(graph) {
    mode.setAttribute("values", "Manual,Largest Diameter");
    rootIndex.setAttribute("min", "0");
    rootIndex.setAttribute("max", std::to_string(graph.maxNodeId()));
    updateVisibility();
    mode.signalValueChanged.connect([this]() { updateVisibility(); });
}

bool GraphReindexingAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    if (data.size() != 1)
        return false;
    auto* graph = dynamic_cast<Graph*>(data[0]);
    if (!graph)
        return false;
    if (out)
        *out = new GraphReindexingAlgorithm(*graph);
    return true;
}

void GraphReindexingAlgorithm::updateVisibility() {
    rootIndex.setAttribute("hidden", mode == LargestDiameter ? "true" : "false");
}

std::unique_ptr<Graph> GraphReindexingAlgorithm::renumberFromRoot(const Graph& graph, unsigned long root) {
    auto result = std::make_unique<Graph>(graph.type(), graph.dimension());
    result->setName(graph.name());
    result->setMatrix(graph.matrix());
    GraphUtils::copyFeatureDescriptors(graph, *result);

    std::unordered_map<unsigned long, unsigned long> newIds;
    newIds.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { newIds.emplace(id, result->addNode(node)); },
                      root, Graph::DepthFirst);
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        const auto a = newIds.find(from);
        const auto b = newIds.find(to);
        if (a != newIds.end() && b != newIds.end())
            result->addEdge(a->second, b->second, edge);
    });
    return result;
}

void GraphReindexingAlgorithm::compute() {
    m_output.clear();
    unsigned long root = rootIndex;
    if (mode == LargestDiameter) {
        const std::optional<int> diameter = m_graph.getEdgeFeatureIdx("diameter");
        if (!diameter) {
            TW_LOG_ERROR("No diameter feature found. Please compute diameter using Compute Features.");
            setStatus(InvalidInput);
            return;
        }
        std::optional<unsigned long> best;
        try {
            best = GraphUtils::argmaxNode(
                m_graph, [&](unsigned long, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
                    if (neighbours.size() != 1)
                        return std::numeric_limits<double>::lowest();
                    return neighbours.begin()->second.value().features.at(static_cast<std::size_t>(*diameter));
                });
        } catch (const std::exception& e) {
            TW_LOG_ERROR("Could not choose a root: a terminal node has no edge record ({}).", e.what());
            setStatus(Error);
            return;
        }
        if (best)
            rootIndex = *best;
        root = rootIndex;
    }
    if (!m_graph.hasNode(root)) {
        TW_LOG_ERROR("Invalid root node index selected.");
        setStatus(InvalidInput);
        return;
    }

    std::size_t reached = 0;
    m_graph.forEachNode([&](unsigned long, const Graph::NodeInfo&) { ++reached; }, root, Graph::DepthFirst);
    if (reached != m_graph.numNodes()) {
        TW_LOG_ERROR("GraphReindexingAlgorithm requires a connected graph. Please run Partition Graph first.");
        setStatus(InvalidInput);
        return;
    }

    auto renumbered = renumberFromRoot(m_graph, root);
    if (inPlace)
        replaceContent(m_graph, *renumbered);
    else
        m_output.add(std::move(renumbered));
    setStatus(Success);
}

} // namespace Tarnwick
