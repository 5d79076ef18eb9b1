// Ball morphology through the distance transform: dilation by radius r marks every voxel whose squared
// distance to the foreground is at most r^2; erosion keeps the voxels whose squared distance to the
// background (the outside included) exceeds r^2. The distance transform stops caring about distances
// beyond r^2, which keeps byte values exact up to r = 15 and lets it skip lines far from any source.

#include <TarnwickLib/ImageOps/Morphology.h>

#include <TarnwickLib/ImageOps/HugePageAllocator.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/SquaredDistance.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <new>

namespace Tarnwick::ImageOps {
namespace {

// Largest squared radius the byte distances can hold (255 means "farther").
constexpr double kByteCap = 254.0;

// One dilation or erosion of `source` into `target` (which may be `source`).
void applyBall(const std::uint8_t* source, std::uint8_t* target, const Eigen::Vector3i& dims, bool dilate, int size) {
    SquaredDistanceOptions options;
    options.cap = static_cast<double>(size) * size;
    options.outsideIsSource = !dilate;
    options.output = dilate ? DistanceOutput::WithinCap : DistanceOutput::BeyondCap;
    // Dilation measures distances to the foreground, erosion to the background.
    const bool sourcesAreForeground = dilate;
    if (options.cap <= kByteCap) {
        squaredDistances(source, sourcesAreForeground, dims, options, target);
        return;
    }
    ScratchVector<float> inside(voxelCount(dims));
    squaredDistances(source, sourcesAreForeground, dims, options, inside.data());
    const std::int64_t count = static_cast<std::int64_t>(inside.size());
#pragma omp parallel for schedule(static) if (worthParallel(inside.size()))
    for (std::int64_t i = 0; i < count; ++i)
        target[i] = inside[static_cast<std::size_t>(i)] != 0.0f;
}

} // namespace

bool morphology(const std::uint8_t* mask, const Eigen::Vector3i& dims, const MorphologyOptions& options,
                std::uint8_t* result) {
    if (!validateVolume("morphology", mask, dims) || !validateVolume("morphology", result, dims))
        return false;
    if (options.size < 0) {
        TW_LOG_ERROR("morphology: the operation size must not be negative (got {})", options.size);
        return false;
    }
    if (options.size == 0) {
        std::transform(mask, mask + voxelCount(dims), result, [](std::uint8_t v) { return v != 0; });
        return true;
    }
    try {
        switch (options.operation) {
        case MorphologyOperation::Dilation:
            applyBall(mask, result, dims, true, options.size);
            break;
        case MorphologyOperation::Erosion:
            applyBall(mask, result, dims, false, options.size);
            break;
        case MorphologyOperation::Opening:
            applyBall(mask, result, dims, false, options.size);
            applyBall(result, result, dims, true, options.size);
            break;
        case MorphologyOperation::Closing:
            applyBall(mask, result, dims, true, options.size);
            applyBall(result, result, dims, false, options.size);
            break;
        }
        return true;
    } catch (const std::bad_alloc&) {
        TW_LOG_ERROR("morphology: not enough memory for a {}x{}x{} volume", dims.x(), dims.y(), dims.z());
        return false;
    }
}

std::unique_ptr<TypedImage<unsigned char>> morphology(const TypedImage<unsigned char>& mask,
                                                      const MorphologyOptions& options) {
    if (mask.channels() != 1) {
        TW_LOG_ERROR("morphology: expected a single-channel mask, got {} channels", mask.channels());
        return nullptr;
    }
    auto result = TypedImage<unsigned char>::create(mask.descriptor());
    if (!morphology(mask.pointer(), mask.dimensions(), options, result->pointer()))
        return nullptr;
    return result;
}

} // namespace Tarnwick::ImageOps
