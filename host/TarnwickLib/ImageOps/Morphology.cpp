// Ball morphology through the distance transform: dilation by radius r marks every voxel whose squared
// distance to the foreground is at most r^2; erosion keeps the voxels whose squared distance to the
// background (the outside included) exceeds r^2. Radii up to 15 use the capped byte transform in place,
// whose cost grows with r but stays a few vector operations per voxel and pass; larger radii use the
// full transform on a float working volume, whose cost does not depend on r.

#include <TarnwickLib/ImageOps/Morphology.h>

#include <TarnwickLib/ImageOps/CappedDistance.h>
#include <TarnwickLib/ImageOps/HugePageAllocator.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/SquaredDistance.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <new>

namespace Tarnwick::ImageOps {
namespace {

constexpr int kLargestByteRadius = 15;

// One dilation or erosion of `source` into `target` (which may be `source`).
void applyBall(const std::uint8_t* source, std::uint8_t* target, const Eigen::Vector3i& dims, bool dilate, int radius) {
    // Dilation measures distances to the foreground, erosion to the background and the outside.
    if (radius <= kLargestByteRadius) {
        cappedSquaredDistances(source, dilate, dims, radius, !dilate,
                               dilate ? CappedOutput::WithinRadius : CappedOutput::BeyondRadius, target);
        return;
    }
    ScratchVector<float> squared(voxelCount(dims));
    SquaredDistanceOptions options;
    options.outsideIsSource = !dilate;
    squaredDistances(source, dilate, dims, options, squared.data());
    const float cap = static_cast<float>(radius) * static_cast<float>(radius);
    const std::int64_t count = static_cast<std::int64_t>(squared.size());
#pragma omp parallel for schedule(static) num_threads(threadsFor(squared.size()))
    for (std::int64_t i = 0; i < count; ++i)
        target[i] = (squared[static_cast<std::size_t>(i)] <= cap) == dilate;
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
    auto result = TypedImage<unsigned char>::uninitialized(mask.descriptor());
    if (!morphology(mask.pointer(), mask.dimensions(), options, result->pointer()))
        return nullptr;
    return result;
}

} // namespace Tarnwick::ImageOps
