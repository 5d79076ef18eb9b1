#include "CenterlineTreeGraph.h"

#include <random>

namespace Tarnwick::Bench {

std::unique_ptr<Graph> centerlineTreeGraph(const CenterlineTree& tree, double jitter, std::size_t chords) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> offset(-jitter, jitter);
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (const Eigen::Vector3d& p : tree.points)
        graph->addNode(Graph::NodeInfo(p + Eigen::Vector3d(offset(random), offset(random), offset(random)), {}));
    for (std::size_t i = 0; i < tree.points.size(); ++i)
        if (tree.parent[i] >= 0)
            graph->addEdge(static_cast<unsigned long>(tree.parent[i]) + 1, i + 1, Graph::EdgeInfo{});
    std::uniform_int_distribution<std::size_t> node(0, tree.points.size() - 41);
    std::uniform_int_distribution<std::size_t> step(5, 40);
    for (std::size_t c = 0; c < chords; ++c) {
        const std::size_t a = node(random);
        graph->addEdge(a + 1, a + step(random) + 1, Graph::EdgeInfo{});
    }
    return graph;
}

} // namespace Tarnwick::Bench
