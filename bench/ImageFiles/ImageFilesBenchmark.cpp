// Saving and loading a 256^3 vessel mask (uint8, 16 MiB) and a 256^3 float volume (64 MiB) in each
// format, against a plain read of the same bytes as the ceiling; and the per-voxel image kernels the
// centerline extraction uses (minimum/maximum over an image, trilinear interpolation).
//
// Files go to a folder under the system's temporary directory, which is removed at exit; loads read
// a file saved once before timing, so they measure reading from the page cache, not the disk.

#include <TarnwickLib/IO/ImageFileIO.h>

#include "VesselMaskGenerator.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <unistd.h>

namespace {

using namespace Tarnwick;
namespace fs = std::filesystem;

const char* const extensions[] = {".nii", ".nii.gz", ".nrrd", ".mha"};

/// A folder for the benchmark's files, removed at exit.
const fs::path& scratch() {
    struct Folder {
        fs::path path = fs::temp_directory_path() / ("tarnwick-image-bench-" + std::to_string(::getpid()));
        Folder() { fs::create_directories(path); }
        ~Folder() {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    };
    static Folder folder;
    return folder.path;
}

/// Argument 0: the mask (uint8 vessel tubes), 1: a float volume of smooth values.
const SharedImageSet& volume(int kind) {
    static const auto make = [](int which) {
        Bench::VesselMaskOptions options;
        options.dims = Eigen::Vector3i::Constant(256);
        const std::vector<std::uint8_t> mask = Bench::generateVesselMask(options);
        std::shared_ptr<MemImage> mem;
        if (which == 0) {
            auto image = TypedImage<unsigned char>::zeros(options.dims);
            std::copy(mask.begin(), mask.end(), image->pointer());
            mem = std::move(image);
        } else {
            auto image = TypedImage<float>::zeros(options.dims);
            for (std::size_t i = 0; i < mask.size(); ++i)
                image->pointer()[i] = static_cast<float>(mask[i]) * 100.0f + static_cast<float>(i % 977) * 0.01f;
            mem = std::move(image);
        }
        mem->setSpacing({0.4, 0.4, 0.6});
        Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
        placement.topRightCorner<3, 1>() = Eigen::Vector3d(-20, 35, 110);
        return std::make_unique<SharedImageSet>(std::make_shared<SharedImage>(mem, placement));
    };
    static const std::unique_ptr<SharedImageSet> sets[2] = {make(0), make(1)};
    return *sets[kind];
}

std::string label(int kind, int format) {
    return std::string(kind == 0 ? "mask uint8 " : "float ") + extensions[format];
}

void BM_Save(benchmark::State& state) {
    const SharedImageSet& set = volume(static_cast<int>(state.range(0)));
    const std::string path = (scratch() / ("save" + std::string(extensions[state.range(1)]))).string();
    for (auto _ : state) {
        const auto result = ImageFileIO::save(set, path);
        if (!result.ok())
            state.SkipWithError(result.error.c_str());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(set.mem(0)->descriptor().byteSize()));
    state.SetLabel(label(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))));
}

void BM_Load(benchmark::State& state) {
    const SharedImageSet& set = volume(static_cast<int>(state.range(0)));
    const std::string path =
        (scratch() / ("load" + std::to_string(state.range(0)) + extensions[state.range(1)])).string();
    if (!ImageFileIO::save(set, path).ok()) {
        state.SkipWithError("could not write the input file");
        return;
    }
    for (auto _ : state) {
        auto loaded = ImageFileIO::load(path);
        if (!loaded)
            state.SkipWithError(loaded.error.c_str());
        benchmark::DoNotOptimize(loaded.images);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(set.mem(0)->descriptor().byteSize()));
    state.SetLabel(label(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))));
}

/// The ceiling for an uncompressed load: reading the file's bytes into a buffer with fread.
void BM_RawRead(benchmark::State& state) {
    const SharedImageSet& set = volume(static_cast<int>(state.range(0)));
    const std::string path = (scratch() / ("raw" + std::to_string(state.range(0)) + ".nii")).string();
    ImageFileIO::save(set, path);
    std::vector<char> buffer(fs::file_size(path));
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "rb");
        const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), file);
        std::fclose(file);
        benchmark::DoNotOptimize(got);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(buffer.size()));
}

void BM_MinMax(benchmark::State& state) {
    const MemImage& mem = *volume(static_cast<int>(state.range(0))).mem(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(mem.minMax());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mem.descriptor().numValues()));
}

void BM_InterpolatedValue(benchmark::State& state) {
    const auto& image = *volume(1).img<float>(0);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(-1.0, 256.0);
    std::vector<Eigen::Vector3d> points(1 << 16);
    for (auto& p : points)
        p = Eigen::Vector3d(coordinate(random), coordinate(random), coordinate(random));
    for (auto _ : state) {
        double sum = 0;
        for (const auto& p : points)
            sum += image.interpolatedValue(p);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}

void formats(benchmark::internal::Benchmark* b) {
    b->ArgNames({"float", "format"});
    for (int kind : {0, 1})
        for (int format = 0; format < 4; ++format)
            b->Args({kind, format});
}

BENCHMARK(BM_Save)->Apply(formats)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Load)->Apply(formats)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RawRead)->ArgName("float")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MinMax)->ArgName("float")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InterpolatedValue)->Unit(benchmark::kMicrosecond);

} // namespace
