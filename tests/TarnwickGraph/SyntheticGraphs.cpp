#include "SyntheticGraphs.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <utility>

namespace Tarnwick::Test {

std::unique_ptr<Graph> makeChain(const std::vector<Eigen::Vector3d>& points) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    unsigned long previous = 0;
    for (const Eigen::Vector3d& p : points) {
        const unsigned long id = graph->addNode(Graph::NodeInfo(p, {}));
        if (previous != 0)
            graph->addEdge(previous, id, Graph::EdgeInfo{});
        previous = id;
    }
    return graph;
}

std::vector<Eigen::Vector3d> noisyLine(int n, double spacing, double noise, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> offset(-noise, noise);
    std::vector<Eigen::Vector3d> points;
    for (int i = 0; i < n; ++i) {
        Eigen::Vector3d p(i * spacing, offset(random), offset(random));
        if (i == 0 || i == n - 1)
            p.tail<2>().setZero();
        points.push_back(p);
    }
    return points;
}

std::unique_ptr<Graph> makeRandomGraph(int nodes, int edges, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(0.0, 10.0);
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (int i = 0; i < nodes; ++i)
        graph->addNode(
            Graph::NodeInfo(Eigen::Vector3d(coordinate(random), coordinate(random), coordinate(random)), {}));
    const long pairs = static_cast<long>(nodes) * (nodes - 1) / 2;
    const long wanted = std::min<long>(edges, pairs);
    std::uniform_int_distribution<int> pick(1, std::max(1, nodes));
    std::set<std::pair<int, int>> added;
    while (static_cast<long>(added.size()) < wanted) {
        const int a = pick(random);
        const int b = pick(random);
        if (a == b || !added.insert({std::min(a, b), std::max(a, b)}).second)
            continue;
        graph->addEdge(static_cast<unsigned long>(a), static_cast<unsigned long>(b), Graph::EdgeInfo{});
    }
    return graph;
}

double rmsDistanceFromXAxis(const Graph& graph) {
    double sum = 0.0;
    graph.forEachNode(
        [&](unsigned long, const Graph::NodeInfo& node) { sum += node.position.tail<2>().squaredNorm(); });
    return graph.numNodes() == 0 ? 0.0 : std::sqrt(sum / static_cast<double>(graph.numNodes()));
}

double totalEdgeLength(const Graph& graph) {
    double result = 0.0;
    graph.forEachEdge([&](const Graph::EdgeInfo&, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        result += (a.position - b.position).norm();
    });
    return result;
}

std::vector<Eigen::Vector3d> positions(const Graph& graph) {
    std::vector<Eigen::Vector3d> result;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { result.push_back(node.position); });
    return result;
}

} // namespace Tarnwick::Test
