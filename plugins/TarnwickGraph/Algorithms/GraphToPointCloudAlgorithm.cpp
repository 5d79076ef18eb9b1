// Graph to point cloud: one OpenMP loop with a static, contiguous split of the graphs over the threads;
// each thread collects (graph index, cloud) pairs in its own list, and the lists are merged into input
// order after the loop. O(total nodes) time, one copy of every position in memory.

#include <TarnwickGraph/Algorithms/GraphToPointCloudAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Data/PointCloud.h>

#include <omp.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace Tarnwick {

namespace {

std::unique_ptr<PointCloud> nodesAsPointCloud(const Graph& graph) {
    std::vector<Eigen::Vector3d> points;
    points.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { points.push_back(node.position); });
    return std::make_unique<PointCloud>(std::move(points), nullptr, nullptr, graph.name() + " Point Cloud");
}

} // namespace

GraphToPointCloudAlgorithm::GraphToPointCloudAlgorithm(const std::vector<Graph*>& graphs) : m_graphs(graphs) {}

bool GraphToPointCloudAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    if (graphs.empty())
        return false;
    if (out)
        *out = new GraphToPointCloudAlgorithm(graphs);
    return true;
}

void GraphToPointCloudAlgorithm::compute() {
    if (m_graphs.empty()) {
        setStatus(InvalidInput);
        return;
    }
    if (std::find(m_graphs.begin(), m_graphs.end(), nullptr) != m_graphs.end()) {
        TW_LOG_ERROR("Invalid input. Graphs must be non-null.");
        setStatus(InvalidInput);
        return;
    }
    m_output.clear();

    using Result = std::pair<int, std::unique_ptr<PointCloud>>;
    std::vector<std::vector<Result>> perThread(static_cast<std::size_t>(omp_get_max_threads()));
    const int count = static_cast<int>(m_graphs.size());
#pragma omp parallel for schedule(static)
    for (int i = 0; i < count; ++i) {
        auto cloud = nodesAsPointCloud(*m_graphs[static_cast<std::size_t>(i)]);
        perThread[static_cast<std::size_t>(omp_get_thread_num())].emplace_back(i, std::move(cloud));
    }

    std::vector<std::unique_ptr<PointCloud>> ordered(m_graphs.size());
    for (auto& results : perThread)
        for (auto& [index, cloud] : results)
            ordered[static_cast<std::size_t>(index)] = std::move(cloud);
    for (auto& cloud : ordered)
        m_output.add(std::move(cloud));
    setStatus(Success);
}

} // namespace Tarnwick
