// Benchmarks of "Graph;Graph To Label Map" on the synthetic 384^3 centerline tree of
// bench/support/CenterlineTreeGenerator (100,000 edges one voxel long, tube radii 1.5 to 6 voxels), drawn
// into the grid of its own tube mask: the CPU path (thread pool over z slabs), the GPU path (compute shader;
// llvmpipe on machines without a GPU) and, as the baseline, a brute-force rasteriser that tests every
// voxel of a 32^3 block against every edge. Each run also reports the Dice overlap of the drawn map with
// the tube mask, and the brute force the voxels where it disagrees with the CPU path (expected 0).
#include "CenterlineTreeGraph.h"

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>
#include <TarnwickGraph/Algorithms/LabelMapPrimitive.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tarnwick {
namespace {

const Eigen::Vector3i volume(384, 384, 384);

/// The tree as a graph with each edge's diameter twice the tube radius at its child point, and the tube
/// mask placed so that world coordinates equal voxel coordinates.
struct Scene {
    std::unique_ptr<Graph> graph;
    std::vector<std::uint8_t> mask;
    ImageDescriptorWorld reference;
};

const Scene& scene() {
    static const Scene scene = [] {
        Bench::CenterlineTreeOptions options;
        options.dims = volume;
        options.pointCount = 100001;
        const Bench::CenterlineTree tree = Bench::generateCenterlineTree(options);
        Scene s{Bench::centerlineTreeGraph(tree), Bench::rasterizeCenterlineTree(tree, volume), {}};
        s.graph->editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, unsigned long to) {
            edge.features[0] = 2.0 * tree.radii[to - 1];
        });
        const ImageDescriptor descriptor(PixelType::UInt8, volume);
        s.reference = ImageDescriptorWorld(descriptor, descriptor.imageToPixelMatrix());
        return s;
    }();
    return scene;
}

double dice(const std::uint8_t* labels, const std::vector<std::uint8_t>& mask) {
    std::size_t both = 0, sum = 0;
    for (std::size_t i = 0; i < mask.size(); ++i) {
        both += labels[i] & mask[i];
        sum += labels[i] + mask[i];
    }
    return 2.0 * static_cast<double>(both) / static_cast<double>(sum);
}

/// Runs the algorithm on the scene; the program cache and offscreen context of the GPU path are made by
/// an untimed first run.
void runLabelMap(benchmark::State& state, bool forceCPU) {
    GraphToLabelMapAlgorithm algorithm(*scene().graph, scene().reference);
    algorithm.mode = static_cast<GraphToLabelMapAlgorithm::Mode>(state.range(0));
    algorithm.forceCPU = forceCPU;
    const auto messages = std::make_shared<Log::MemorySink>();
    Log::addSink(messages);
    algorithm.compute();
    Log::removeSink(messages);
    std::unique_ptr<SharedImageSet> labels = algorithm.takeOutput().extractFirstImage();
    if (!labels || !messages->messages(Log::Info).empty()) {
        state.SkipWithError(forceCPU ? "the label map failed" : "the GPU path does not run here");
        return;
    }
    for (auto _ : state) {
        algorithm.compute();
        benchmark::DoNotOptimize(algorithm.output().get(0));
    }
    state.counters["dice"] = dice(labels->img<std::uint8_t>()->pointer(), scene().mask);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(scene().graph->numEdges()));
}

void BM_LabelMapCpu(benchmark::State& state) {
    runLabelMap(state, true);
}

void BM_LabelMapGpu(benchmark::State& state) {
    runLabelMap(state, false);
}

/// Every voxel of a 32^3 block at the centre of the volume against every edge (capsules, as the
/// Centerline mode draws them), with the same primitives and voxel test as the CPU path.
void BM_BruteForceBlock(benchmark::State& state) {
    const Scene& s = scene();
    const Eigen::Matrix4f graphToPixel = (s.reference.worldToPixelMatrix() * s.graph->matrixToWorld()).cast<float>();
    std::vector<LabelMapPrimitive> primitives;
    s.graph->forEachEdge([&](const Graph::EdgeInfo& edge, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        const auto voxel = [&](const Graph::NodeInfo& node) {
            const Eigen::Vector3f p = node.position.cast<float>();
            return LabelMapPrimitive::toVoxel(graphToPixel, Eigen::Vector4f(p.x(), p.y(), p.z(), 0.0f));
        };
        const float radius = static_cast<float>(0.5 * edge.features[0]);
        if (auto primitive = LabelMapPrimitive::make(voxel(a), voxel(b), radius, Eigen::Vector3f::Ones(), 1.0f, false))
            primitives.push_back(*primitive);
    });
    const int block = 32;
    const Eigen::Vector3i first = (volume - Eigen::Vector3i::Constant(block)) / 2;
    std::vector<std::uint8_t> labels(static_cast<std::size_t>(block * block * block));
    for (auto _ : state) {
        std::size_t i = 0;
        for (int z = first.z(); z < first.z() + block; ++z)
            for (int y = first.y(); y < first.y() + block; ++y)
                for (int x = first.x(); x < first.x() + block; ++x, ++i) {
                    const Eigen::Vector3f v(x + 0.5f, y + 0.5f, z + 0.5f);
                    unsigned best = LabelMapPrimitive::Outside;
                    for (const LabelMapPrimitive& primitive : primitives)
                        best = std::min(best, primitive.classify(v, v));
                    labels[i] = best == LabelMapPrimitive::Inside ? 1 : 0;
                }
        benchmark::DoNotOptimize(labels.data());
    }
    // The CPU path over the whole volume must give the same voxels.
    GraphToLabelMapAlgorithm algorithm(*s.graph, s.reference);
    algorithm.forceCPU = true;
    algorithm.compute();
    const auto full = algorithm.takeOutput().extractFirstImage();
    const TypedImage<std::uint8_t>& fast = *full->img<std::uint8_t>();
    std::size_t differing = 0, i = 0, inside = 0;
    for (int z = first.z(); z < first.z() + block; ++z)
        for (int y = first.y(); y < first.y() + block; ++y)
            for (int x = first.x(); x < first.x() + block; ++x, ++i) {
                differing += labels[i] != fast.value(x, y, z);
                inside += labels[i];
            }
    state.counters["differing"] = static_cast<double>(differing);
    state.counters["inside"] = static_cast<double>(inside);
    state.counters["pairsPerSecond"] = benchmark::Counter(static_cast<double>(labels.size() * primitives.size()),
                                                          benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(BM_LabelMapCpu)
    ->ArgName("mode")
    ->Arg(GraphToLabelMapAlgorithm::Centerline)
    ->Arg(GraphToLabelMapAlgorithm::Vessel)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_LabelMapGpu)
    ->ArgName("mode")
    ->Arg(GraphToLabelMapAlgorithm::Centerline)
    ->Arg(GraphToLabelMapAlgorithm::Vessel)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_BruteForceBlock)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
} // namespace Tarnwick

int main(int argc, char** argv) {
    // The plug-in registers the compute shader; it must go before the host's registries do.
    Tarnwick::GraphPlugin plugin;
    plugin.init();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
