// Smoothing and spanning-forest kernels on synthetic vessel centerline trees (bench/support): the
// heat-kernel and neighbour-average smoothing and the minimum spanning tree on 1,000,000 nodes, and
// the distance-weighted curve shortening on 100,000 nodes inside the tree's own distance map.

#include <CenterlineTreeGenerator.h>

#include <TarnwickGraph/Algorithms/DistanceWeightedCurveShortening.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>

using namespace Tarnwick;

namespace {

/// The tree as an undirected graph (node i + 1 at point i, jittered by up to `jitter` voxels per axis
/// to imitate a staircase skeleton), plus `chords` extra edges between points 5 to 40 steps apart along
/// the generation order, which close cycles.
std::unique_ptr<Graph> treeGraph(const Bench::CenterlineTree& tree, double jitter, std::size_t chords) {
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

Bench::CenterlineTree makeTree(std::size_t points, const Eigen::Vector3i& dims) {
    Bench::CenterlineTreeOptions options;
    options.pointCount = points;
    options.dims = dims;
    return Bench::generateCenterlineTree(options);
}

const Bench::CenterlineTree& millionTree() {
    static const Bench::CenterlineTree tree = makeTree(1000000, {1024, 1024, 1024});
    return tree;
}

void BM_HeatKernelSmoothing(benchmark::State& state) {
    const auto original = treeGraph(millionTree(), 0.5, 0);
    for (auto _ : state) {
        state.PauseTiming();
        auto graph = original->clone();
        state.ResumeTiming();
        if (!GraphSmoothingAlgorithm::heatKernelSmoothing(*graph, 2.0, true))
            state.SkipWithError("solve failed");
    }
    state.counters["nodes"] = static_cast<double>(original->numNodes());
}
BENCHMARK(BM_HeatKernelSmoothing)->Unit(benchmark::kSecond)->Iterations(3)->MeasureProcessCPUTime();

void BM_NeighborhoodSmoothing(benchmark::State& state) {
    auto graph = treeGraph(millionTree(), 0.5, 0);
    for (auto _ : state)
        GraphSmoothingAlgorithm::neighborhoodSmoothing(*graph, 2.0, true);
    state.counters["nodes"] = static_cast<double>(graph->numNodes());
}
BENCHMARK(BM_NeighborhoodSmoothing)->Unit(benchmark::kMillisecond)->Iterations(3)->MeasureProcessCPUTime();

void BM_MinimumSpanningTree(benchmark::State& state) {
    const auto graph = treeGraph(millionTree(), 0.0, 10000);
    for (auto _ : state) {
        MinimumSpanningTreeAlgorithm algorithm(*graph, nullptr);
        algorithm.pruneBySegment = state.range(0) != 0;
        algorithm.compute();
        if (algorithm.status() != Algorithm::Success)
            state.SkipWithError("MST failed");
        benchmark::DoNotOptimize(algorithm.takeOutput());
    }
    state.counters["nodes"] = static_cast<double>(graph->numNodes());
    state.counters["edges"] = static_cast<double>(graph->numEdges());
}
BENCHMARK(BM_MinimumSpanningTree)->Arg(0)->Arg(1)->Unit(benchmark::kSecond)->Iterations(2)->MeasureProcessCPUTime();

void BM_CurveShortening(benchmark::State& state) {
    const Eigen::Vector3i dims(256, 256, 256);
    const Bench::CenterlineTree tree = makeTree(100000, dims);
    const auto original = treeGraph(tree, 0.5, 0);
    const std::vector<float> distances = Bench::centerlineTreeDistanceMap(tree, dims);
    auto values = TypedImage<float>::create(ImageDescriptor(PixelType::Float, dims, 1));
    std::copy(distances.begin(), distances.end(), values->pointer());
    // Image coordinates are centred on the volume; the graph is in voxel coordinates.
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topRightCorner<3, 1>() = (dims.cast<double>().array() - 1.0) / 2.0;
    const SharedImage distance(std::shared_ptr<MemImage>(std::move(values)), placement);
    for (auto _ : state) {
        state.PauseTiming();
        auto graph = original->clone();
        state.ResumeTiming();
        if (!DistanceWeightedCurveShortening::evolve(*graph, distance, true))
            state.SkipWithError("integration failed");
    }
    state.counters["nodes"] = static_cast<double>(original->numNodes());
}
BENCHMARK(BM_CurveShortening)->Unit(benchmark::kSecond)->Iterations(1)->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
