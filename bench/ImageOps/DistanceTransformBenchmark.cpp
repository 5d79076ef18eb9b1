// Exact distance transform with the centerline extraction's flags (millimetres, inside, unsigned) on an
// anisotropic grid, and the signed variant, which runs two transforms.

#include <TarnwickLib/ImageOps/DistanceTransform.h>

#include "BenchmarkMasks.h"

#include <benchmark/benchmark.h>

namespace {

void BM_DistanceTransform(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const auto& mask = Tarnwick::Bench::cachedVesselMask(size);
    auto distances = Tarnwick::Bench::touchedBuffer<float>(mask.size());
    Tarnwick::ImageOps::DistanceTransformOptions options;
    options.signedDistance = state.range(1) != 0;
    for (auto _ : state) {
        const bool ok = Tarnwick::ImageOps::distanceTransform(mask.data(), Eigen::Vector3i::Constant(size),
                                                              {0.5, 0.5, 0.8}, options, distances.data());
        benchmark::DoNotOptimize(ok);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mask.size()));
}

BENCHMARK(BM_DistanceTransform)
    ->ArgNames({"size", "signed"})
    ->Args({256, 0})
    ->Args({384, 0})
    ->Args({384, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace
