// Graph model benchmarks on a vessel-like tree of one million nodes: building it with addNode and
// addEdge, edge sweeps, counting edges, removing a tenth of the nodes and a geometric shortest path
// across it. The build benchmark also reports the heap bytes held per node.
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <memory>

namespace Tarnwick {
namespace {

constexpr unsigned long segmentLength = 20;

/// Parent of node i (ids from 1): the previous node inside a chain of segmentLength nodes; the first node of
/// each chain branches off an earlier node spread over the whole tree.
unsigned long parentOf(unsigned long i) {
    if (i % segmentLength != 1)
        return i - 1;
    return 1 + (i * 7919) % (i - 1);
}

/// A tree of chains with branch points, positions one unit apart along a direction per chain.
std::unique_ptr<Graph> buildTree(unsigned long nodeCount) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    std::vector<Eigen::Vector3d> positions(nodeCount + 1, Eigen::Vector3d::Zero());
    Eigen::Vector3d direction(1, 0, 0);
    for (unsigned long i = 1; i <= nodeCount; ++i) {
        if (i > 1) {
            if (i % segmentLength == 1)
                direction = Eigen::Vector3d(std::sin(i * 0.37), std::cos(i * 0.37), std::sin(i * 0.11)).normalized();
            positions[i] = positions[parentOf(i)] + direction;
        }
        graph->addNode(Graph::NodeInfo(positions[i], {}));
        if (i > 1)
            graph->addEdge(parentOf(i), i, Graph::EdgeInfo({1.0}));
    }
    return graph;
}

std::size_t heapBytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void BM_BuildTree(benchmark::State& state) {
    const auto n = static_cast<unsigned long>(state.range(0));
    double bytesPerNode = 0.0;
    for (auto _ : state) {
        const std::size_t before = heapBytesInUse();
        auto graph = buildTree(n);
        bytesPerNode = static_cast<double>(heapBytesInUse() - before) / static_cast<double>(n);
        benchmark::DoNotOptimize(graph.get());
        state.PauseTiming();
        graph.reset();
        state.ResumeTiming();
    }
    state.counters["heapBytesPerNode"] = bytesPerNode;
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ForEachEdge(benchmark::State& state) {
    const auto graph = buildTree(static_cast<unsigned long>(state.range(0)));
    for (auto _ : state) {
        double sum = 0.0;
        graph->forEachEdge(
            [&](const Graph::EdgeInfo& edge, unsigned long, const Graph::NodeInfo& a, unsigned long,
                const Graph::NodeInfo& b) { sum += edge.features[0] + a.position.x() - b.position.x(); });
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(graph->numEdges()));
}

void BM_NumEdges(benchmark::State& state) {
    const auto graph = buildTree(static_cast<unsigned long>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(graph->numEdges());
}

void BM_RemoveTenthOfNodes(benchmark::State& state) {
    const auto n = static_cast<unsigned long>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto graph = buildTree(n);
        state.ResumeTiming();
        for (unsigned long id = 5; id <= n; id += 10)
            graph->removeNode(id);
        benchmark::DoNotOptimize(graph->numNodes());
        state.PauseTiming();
        graph.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n / 10));
}

void BM_ShortestGeometricPath(benchmark::State& state) {
    // From the last leaf to the end of the first chain: up the tree to the root's chain and down again.
    const auto n = static_cast<unsigned long>(state.range(0));
    auto graph = buildTree(n);
    GraphUtils::computeEdgeLengths(*graph);
    std::size_t pathLength = 0;
    for (auto _ : state) {
        const auto path = GraphUtils::shortestGeometricPath(*graph, n, segmentLength);
        pathLength = path ? path->size() : 0;
        benchmark::DoNotOptimize(pathLength);
    }
    state.counters["pathNodes"] = static_cast<double>(pathLength);
}

constexpr long million = 1000000;
BENCHMARK(BM_BuildTree)->Arg(million)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ForEachEdge)->Arg(million)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NumEdges)->Arg(million);
BENCHMARK(BM_RemoveTenthOfNodes)->Arg(million)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ShortestGeometricPath)->Arg(million)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Tarnwick

BENCHMARK_MAIN();
