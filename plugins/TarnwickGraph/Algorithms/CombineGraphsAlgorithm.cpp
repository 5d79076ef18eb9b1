// Graph combination: checks that the inputs share dimension and feature columns, then copies every node
// (position mapped through its graph's placement) and every edge into one new graph under fresh ids.
// O((N + E) log N) time over all inputs, O(N) extra memory for the id maps.
#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <algorithm>
#include <map>
#include <memory>

namespace Tarnwick {

namespace {

bool sameNames(const std::vector<Graph::FeatureDescriptor>& a, const std::vector<Graph::FeatureDescriptor>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return x.name == y.name; });
}

} // namespace

CombineGraphsAlgorithm::CombineGraphsAlgorithm(const std::vector<Graph*>& graphs) : m_graphs(graphs) {}

bool CombineGraphsAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const std::vector<Graph*> graphs = data.getAll<Graph>();
    if (graphs.size() < 2)
        return false;
    if (out)
        *out = new CombineGraphsAlgorithm(graphs);
    return true;
}

const Graph* CombineGraphsAlgorithm::combined() const {
    return dynamic_cast<const Graph*>(m_output.get(0));
}

int CombineGraphsAlgorithm::validateInputs() const {
    if (m_graphs.empty())
        return IncompleteInput;
    if (std::find(m_graphs.begin(), m_graphs.end(), nullptr) != m_graphs.end()) {
        TW_LOG_ERROR("Invalid input. Graphs must be non-empty.");
        return Error;
    }
    const auto is2D = [](const Graph* g) { return g->dimension() == Graph::Dim2D; };
    if (std::any_of(m_graphs.begin(), m_graphs.end(), is2D) && !std::all_of(m_graphs.begin(), m_graphs.end(), is2D)) {
        TW_LOG_ERROR("Cannot combine graphs of different dimensions");
        return InvalidInput;
    }
    const Graph& first = *m_graphs.front();
    for (const Graph* graph : m_graphs) {
        if (!sameNames(graph->nodeFeatureDescriptors(), first.nodeFeatureDescriptors()) ||
            !sameNames(graph->edgeFeatureDescriptors(), first.edgeFeatureDescriptors())) {
            TW_LOG_ERROR("Cannot combine graphs due to incompatible features");
            return Error;
        }
    }
    return Success;
}

void CombineGraphsAlgorithm::compute() {
    m_output.clear();
    if (const int failure = validateInputs(); failure != Success) {
        setStatus(failure);
        return;
    }
    const Graph& first = *m_graphs.front();
    const bool anyDirected =
        std::any_of(m_graphs.begin(), m_graphs.end(), [](const Graph* g) { return g->type() == Graph::Directed; });
    auto output = std::make_unique<Graph>(anyDirected ? Graph::Directed : Graph::Undirected, first.dimension());
    GraphUtils::copyFeatureDescriptors(first, *output);

    for (const Graph* input : m_graphs) {
        const Eigen::Matrix4d toWorld = input->matrixToWorld();
        const Eigen::Matrix3d linear = toWorld.topLeftCorner<3, 3>();
        const Eigen::Vector3d translation = toWorld.topRightCorner<3, 1>();
        std::map<unsigned long, unsigned long> newId;
        input->forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
            newId.emplace_hint(newId.end(), id,
                               output->addNode({linear * node.position + translation, node.features, node.attributes}));
        });
        input->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
            output->addEdge(newId.at(from), newId.at(to), edge);
        });
    }
    m_output.add(std::move(output));
    setStatus(Success);
}

} // namespace Tarnwick
