// Benchmarks of diameter measurement, partitioning and pruning on synthetic centerline trees
// (bench/support/CenterlineTreeGenerator): both diameter methods, and tarnwick-cli's measurement, on a
// 100,000-edge tree inside a 384^3 label map, reported per edge, and partitioning and pruning (global
// threshold and distance based) of a 1,000,000-point tree with skeleton-like spurs. Scenes are built
// once, outside the timed regions.
#include "CenterlineTreeGraph.h"

#include <TarnwickGraph/Algorithms/DiameterEstimation.h>
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

namespace Tarnwick {
namespace {

const Eigen::Vector3i volume(384, 384, 384);

/// An image of the volume placed so that world coordinates equal voxel coordinates.
template <typename T>
std::shared_ptr<SharedImage> volumeImage(const std::vector<T>& values) {
    const ImageDescriptor descriptor(pixelTypeOf<T>(), volume);
    std::shared_ptr<MemImage> mem =
        TypedImage<T>::create(descriptor, const_cast<T*>(values.data()), MemImage::Ownership::Copy);
    return std::make_shared<SharedImage>(mem, descriptor.imageToPixelMatrix());
}

/// A synthetic tree grown in the volume, as a graph, and an image of the volume computed from it.
struct Scene {
    std::unique_ptr<Graph> graph;
    std::shared_ptr<SharedImage> image;
};

template <typename Rasterize>
Scene makeScene(Bench::CenterlineTreeOptions options, Rasterize rasterize) {
    options.dims = volume;
    const Bench::CenterlineTree tree = Bench::generateCenterlineTree(options);
    return Scene{Bench::centerlineTreeGraph(tree), volumeImage(rasterize(tree, volume))};
}

/// A 100,000-edge tree and its label mask.
const Scene& diameterScene() {
    static const Scene scene = [] {
        Bench::CenterlineTreeOptions options;
        options.pointCount = 100001;
        return makeScene(options, Bench::rasterizeCenterlineTree);
    }();
    return scene;
}

/// A 1,000,000-point tree with spurs and its distance map.
const Scene& pruneScene() {
    static const Scene scene = [] {
        Bench::CenterlineTreeOptions options;
        options.pointCount = 1000000;
        options.minRadius = 2.0; // so that the one-point spurs of the thinnest branches lie inside them
        options.spurEvery = 40;
        return makeScene(options, Bench::centerlineTreeDistanceMap);
    }();
    return scene;
}

void setPerEdge(benchmark::State& state, const Graph& graph) {
    state.counters["timePerEdge"] =
        benchmark::Counter(static_cast<double>(graph.numEdges()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(graph.numEdges()));
}

void BM_PlainDiameters(benchmark::State& state) {
    const Scene& scene = diameterScene();
    for (auto _ : state)
        benchmark::DoNotOptimize(DiameterEstimation::computeDiameters(*scene.graph, *scene.image, false, 0.5));
    setPerEdge(state, *scene.graph);
}

/// As the VesselDiameter mode runs it: measurement, zero filling and smoothing along segments.
void BM_VesselDiameters(benchmark::State& state) {
    const Scene& scene = diameterScene();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            DiameterEstimation::computeVesselDiameters(*scene.graph, *scene.image, true, 3, true, 0.5));
    setPerEdge(state, *scene.graph);
}

/// The ray marching alone (no filling, and smoothing that changes nothing).
void BM_VesselDiametersMeasurementOnly(benchmark::State& state) {
    const Scene& scene = diameterScene();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            DiameterEstimation::computeVesselDiameters(*scene.graph, *scene.image, false, std::nullopt, false, 0.5));
    setPerEdge(state, *scene.graph);
}

/// As the main job measures: the VesselDiameter mode on a nearest-voxel view of the mask with rays
/// stepping a sixteenth of a voxel.
void BM_MaskVesselDiameters(benchmark::State& state) {
    const Scene& scene = diameterScene();
    for (auto _ : state)
        benchmark::DoNotOptimize(measureVesselDiameters(*scene.graph, *scene.image));
    setPerEdge(state, *scene.graph);
}

void BM_PartitionGraphs(benchmark::State& state) {
    const Graph& graph = *pruneScene().graph;
    std::size_t parts = 0;
    for (auto _ : state) {
        PartitionGraphsAlgorithm algorithm(graph);
        algorithm.compute();
        OwningDataList output = algorithm.takeOutput();
        parts = output.size();
        state.PauseTiming();
        output.clear();
        state.ResumeTiming();
    }
    state.counters["parts"] = static_cast<double>(parts);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(graph.numNodes()));
}

/// Runs prune(copy) on a fresh copy of the 1,000,000-point tree per iteration (copying is not timed).
template <typename Prune>
void runPrune(benchmark::State& state, Prune&& prune) {
    const Graph& graph = *pruneScene().graph;
    std::size_t removed = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<Graph> copy = graph.clone();
        state.ResumeTiming();
        prune(*copy);
        state.PauseTiming();
        removed = graph.numNodes() - copy->numNodes();
        copy.reset();
        state.ResumeTiming();
    }
    state.counters["removedNodes"] = static_cast<double>(removed);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(graph.numNodes()));
}

void BM_PruneShortTerminalPaths(benchmark::State& state) {
    runPrune(state, [](Graph& graph) { PruneTerminalPathsAlgorithm::removeShortTerminalPaths(graph, 3.0); });
}

void BM_PrunePathsDistanceBased(benchmark::State& state) {
    SharedImageSet distance(pruneScene().image);
    runPrune(state, [&](Graph& graph) {
        benchmark::DoNotOptimize(PruneTerminalPathsAlgorithm::removePathsDistanceBased(graph, &distance, 1.0));
    });
}

BENCHMARK(BM_PlainDiameters)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VesselDiameters)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VesselDiametersMeasurementOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MaskVesselDiameters)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PartitionGraphs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PruneShortTerminalPaths)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PrunePathsDistanceBased)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Tarnwick

BENCHMARK_MAIN();
