// Thinning of synthetic vessel masks (about 3 % foreground, radii 1-10 voxels).

#include <TarnwickLib/ImageOps/Thinning.h>

#include "BenchmarkMasks.h"

#include <benchmark/benchmark.h>

namespace {

void BM_Thinning(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const auto& mask = Tarnwick::Bench::cachedVesselMask(size);
    auto skeleton = Tarnwick::Bench::touchedBuffer<std::uint8_t>(mask.size());
    for (auto _ : state) {
        const bool ok = Tarnwick::ImageOps::thin(mask.data(), Eigen::Vector3i::Constant(size), skeleton.data());
        benchmark::DoNotOptimize(ok);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mask.size()));
}

BENCHMARK(BM_Thinning)
    ->Arg(128)
    ->Arg(256)
    ->Arg(384)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace
