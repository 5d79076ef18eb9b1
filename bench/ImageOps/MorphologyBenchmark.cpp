// Closing with a ball of radius 2 (the centerline extraction's hole filling), and a large radius to show
// that the cost does not follow the kernel volume.

#include <TarnwickLib/ImageOps/Morphology.h>

#include "BenchmarkMasks.h"

#include <benchmark/benchmark.h>

namespace {

void BM_Closing(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const int radius = static_cast<int>(state.range(1));
    const auto& mask = Tarnwick::Bench::cachedVesselMask(size);
    auto closed = Tarnwick::Bench::touchedBuffer<std::uint8_t>(mask.size());
    const Tarnwick::ImageOps::MorphologyOptions options{Tarnwick::ImageOps::MorphologyOperation::Closing, radius};
    for (auto _ : state) {
        const bool ok =
            Tarnwick::ImageOps::morphology(mask.data(), Eigen::Vector3i::Constant(size), options, closed.data());
        benchmark::DoNotOptimize(ok);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mask.size()));
}

BENCHMARK(BM_Closing)
    ->Args({256, 2})
    ->Args({384, 2})
    ->Args({384, 8})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace
