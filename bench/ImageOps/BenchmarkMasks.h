#pragma once

#include <Eigen/Core>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <ctime>
#include <vector>

namespace Tarnwick::Bench {

/// The synthetic vessel mask of size^3 voxels with seed 1, generated once per process and kept, so that
/// benchmarks do not time its generation.
const std::vector<std::uint8_t>& cachedVesselMask(int size);

/// A buffer of `count` values with every page already written, so that first-touch page faults do not
/// land in the timed loop (the caller of an image operation owns its output image).
template <typename T>
std::vector<T> touchedBuffer(std::size_t count) {
    return std::vector<T>(count, T(1));
}

/// Processor time of the whole process (all threads), for the "process_cpu_ms" counter: Google
/// Benchmark's own CPU column counts only the main thread, and wall time on a shared machine depends on
/// what else runs.
inline double processCpuSeconds() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec + 1e-9 * t.tv_nsec;
}

/// Sets the counter "process_cpu_ms": process CPU time per iteration since `start`.
inline void reportProcessCpu(benchmark::State& state, double start) {
    state.counters["process_cpu_ms"] =
        benchmark::Counter(1e3 * (processCpuSeconds() - start) / static_cast<double>(state.iterations()));
}

} // namespace Tarnwick::Bench
