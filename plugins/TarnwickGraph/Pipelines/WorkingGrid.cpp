#include <TarnwickGraph/Pipelines/WorkingGrid.h>

#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageOps/SquaredDistance.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Tarnwick {

WorkingGrid chooseWorkingGrid(const ImageDescriptor& input, double workingSpacingMm) {
    WorkingGrid grid;
    grid.dimensions = input.dimensions;
    grid.spacing = input.spacing;
    const int axes = input.dimensions.z() == 1 ? 2 : 3;
    for (int axis = 0; axis < axes; ++axis) {
        const double extent = input.dimensions[axis] * input.spacing[axis];
        // A small tolerance keeps spacings that only differ by rounding as they are.
        if (input.spacing[axis] <= workingSpacingMm * 1.001)
            continue;
        // Relative tolerance: spacings stored as 32-bit floats (NIfTI headers) give the same grid.
        grid.dimensions[axis] = static_cast<int>(std::ceil(extent / workingSpacingMm * (1.0 - 1e-6)));
        grid.spacing[axis] = extent / grid.dimensions[axis];
        grid.upsampled = true;
    }
    const double voxels = grid.dimensions.cast<double>().prod();
    if (voxels > double(kMaxWorkingVoxels)) {
        const double fitting = workingSpacingMm * std::cbrt(voxels / double(kMaxWorkingVoxels)) * 1.01;
        grid.error = fmt::format("A working grid of {:.3g} mm spacing would hold {:.3g} voxels, more than the {:.3g} "
                                 "the extraction may use; choose a working spacing of {:.2g} mm or more "
                                 "(--working-spacing; parameter workingSpacing)",
                                 workingSpacingMm, voxels, double(kMaxWorkingVoxels), fitting);
    }
    return grid;
}

namespace {

/// Signed distance in millimetres at every voxel centre: positive inside (to the nearest background
/// centre), negative outside (to the nearest vessel centre). A mask without background or without vessel
/// has no finite distance on that side: those values are capped at a distance far beyond any volume, so that
/// the interpolation never meets infinity minus infinity.
std::vector<float> signedDistance(const TypedImage<unsigned char>& mask) {
    const ImageDescriptor& descriptor = mask.descriptor();
    const std::size_t count = descriptor.numValues();
    ImageOps::SquaredDistanceOptions options;
    options.spacing = descriptor.spacing;
    options.root = true;
    std::vector<float> inside(count), outside(count);
    ImageOps::squaredDistances(mask.pointer(), false, descriptor.dimensions, options, inside.data());
    ImageOps::squaredDistances(mask.pointer(), true, descriptor.dimensions, options, outside.data());
    constexpr float farMm = 1e9f;
    for (std::size_t i = 0; i < count; ++i)
        inside[i] = mask.pointer()[i] ? std::min(inside[i], farMm) : -std::min(outside[i], farMm);
    return inside;
}

/// Source pixel coordinate of a working voxel along one axis (same extent, centres aligned), split into the
/// lower source index and the weight of the upper one.
struct AxisSample {
    int lower = 0;
    int upper = 0;
    float weight = 0.0f;
};

std::vector<AxisSample> axisSamples(int sourceSize, double sourceSpacing, int size, double spacing) {
    std::vector<AxisSample> samples(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) {
        const double p = std::clamp((i + 0.5) * spacing / sourceSpacing - 0.5, 0.0, double(sourceSize - 1));
        AxisSample& sample = samples[static_cast<std::size_t>(i)];
        sample.lower = static_cast<int>(std::floor(p));
        sample.upper = std::min(sample.lower + 1, sourceSize - 1);
        sample.weight = static_cast<float>(p - sample.lower);
    }
    return samples;
}

} // namespace

std::unique_ptr<SharedImage> upsampleMask(const SharedImage& mask, const WorkingGrid& grid) {
    const auto& source = static_cast<const TypedImage<unsigned char>&>(*mask.mem());
    const ImageDescriptor& from = source.descriptor();
    const std::vector<float> distance = signedDistance(source);
    std::vector<AxisSample> samples[3];
    for (int axis = 0; axis < 3; ++axis)
        samples[axis] =
            axisSamples(from.dimensions[axis], from.spacing[axis], grid.dimensions[axis], grid.spacing[axis]);

    ImageDescriptor to = from;
    to.dimensions = grid.dimensions;
    to.spacing = grid.spacing;
    std::unique_ptr<TypedImage<unsigned char>> result = TypedImage<unsigned char>::uninitialized(to);
    const std::size_t rowStride = static_cast<std::size_t>(from.dimensions.x());
    const std::size_t sliceStride = rowStride * static_cast<std::size_t>(from.dimensions.y());
    unsigned char* out = result->pointer();
#pragma omp parallel for schedule(static)
    for (int z = 0; z < grid.dimensions.z(); ++z) {
        const AxisSample sz = samples[2][static_cast<std::size_t>(z)];
        for (int y = 0; y < grid.dimensions.y(); ++y) {
            const AxisSample sy = samples[1][static_cast<std::size_t>(y)];
            unsigned char* row = out + (static_cast<std::size_t>(z) * grid.dimensions.y() + y) * grid.dimensions.x();
            for (int x = 0; x < grid.dimensions.x(); ++x) {
                const AxisSample sx = samples[0][static_cast<std::size_t>(x)];
                const auto at = [&](int k, int j, int i) {
                    return distance[static_cast<std::size_t>(k) * sliceStride +
                                    static_cast<std::size_t>(j) * rowStride + static_cast<std::size_t>(i)];
                };
                const auto lerp = [](float a, float b, float t) { return t == 0.0f ? a : a + (b - a) * t; };
                const auto plane = [&](int k) {
                    return lerp(lerp(at(k, sy.lower, sx.lower), at(k, sy.lower, sx.upper), sx.weight),
                                lerp(at(k, sy.upper, sx.lower), at(k, sy.upper, sx.upper), sx.weight), sy.weight);
                };
                row[x] = lerp(plane(sz.lower), plane(sz.upper), sz.weight) > 0.0f ? 1 : 0;
            }
        }
    }
    return std::make_unique<SharedImage>(std::shared_ptr<MemImage>(std::move(result)), mask.matrixToWorld(),
                                         mask.modality());
}

} // namespace Tarnwick
