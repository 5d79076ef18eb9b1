// Smoothing and spanning-forest kernels on synthetic vessel centerline trees (bench/support): the
// heat-kernel and neighbour-average smoothing and the minimum spanning tree on 1,000,000 nodes, and
// the distance-weighted curve shortening on 100,000 nodes inside the tree's own distance map.

#include <CenterlineTreeGraph.h>

#include <TarnwickGraph/Algorithms/DistanceWeightedCurveShortening.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Tarnwick;

namespace {

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
    const auto original = Bench::centerlineTreeGraph(millionTree(), 0.5, 0);
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
    auto graph = Bench::centerlineTreeGraph(millionTree(), 0.5, 0);
    for (auto _ : state)
        GraphSmoothingAlgorithm::neighborhoodSmoothing(*graph, 2.0, true);
    state.counters["nodes"] = static_cast<double>(graph->numNodes());
}
BENCHMARK(BM_NeighborhoodSmoothing)->Unit(benchmark::kMillisecond)->Iterations(3)->MeasureProcessCPUTime();

void BM_MinimumSpanningTree(benchmark::State& state) {
    const auto graph = Bench::centerlineTreeGraph(millionTree(), 0.0, 10000);
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
    const auto original = Bench::centerlineTreeGraph(tree, 0.5, 0);
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
