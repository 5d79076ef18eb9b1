// Resampling of a 384^3 mask onto a grid of the same size that is rotated by 10 degrees, shifted by a
// fraction of a voxel and 5 % coarser: every target voxel needs a full interpolation.

#include <TarnwickLib/ImageOps/Resampling.h>

#include "BenchmarkMasks.h"

#include <benchmark/benchmark.h>

#include <Eigen/Geometry>

namespace {

void BM_Resampling(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const auto mode =
        state.range(1) ? Tarnwick::ImageOps::Interpolation::Linear : Tarnwick::ImageOps::Interpolation::Nearest;
    const auto& mask = Tarnwick::Bench::cachedVesselMask(size);
    auto target = Tarnwick::Bench::touchedBuffer<std::uint8_t>(mask.size());
    const Eigen::Vector3d centre = Eigen::Vector3d::Constant((size - 1) / 2.0);
    const Eigen::Affine3d map = Eigen::Translation3d(centre + Eigen::Vector3d(0.3, 0.2, 0.1)) *
                                Eigen::AngleAxisd(0.1745, Eigen::Vector3d(1, 1, 1).normalized()) *
                                Eigen::Scaling(1.05) * Eigen::Translation3d(-centre);
    const Eigen::Vector3i dims = Eigen::Vector3i::Constant(size);
    for (auto _ : state) {
        const bool ok = Tarnwick::ImageOps::resample(mask.data(), dims, 1, dims, map.matrix(), {mode}, target.data());
        benchmark::DoNotOptimize(ok);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mask.size()));
}

BENCHMARK(BM_Resampling)
    ->ArgNames({"size", "linear"})
    ->Args({384, 0})
    ->Args({384, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace
