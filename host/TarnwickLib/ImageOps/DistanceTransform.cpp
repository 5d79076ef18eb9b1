#include <TarnwickLib/ImageOps/DistanceTransform.h>

#include <TarnwickLib/ImageOps/HugePageAllocator.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/SquaredDistance.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <new>

namespace Tarnwick::ImageOps {

bool distanceTransform(const std::uint8_t* mask, const Eigen::Vector3i& dims, const Eigen::Vector3d& spacing,
                       const DistanceTransformOptions& options, float* distances) {
    if (!validateVolume("distanceTransform", mask, dims) || !validateVolume("distanceTransform", distances, dims))
        return false;
    if (options.useSpacing && !validateSpacing("distanceTransform", spacing))
        return false;
    SquaredDistanceOptions transform;
    transform.spacing = options.useSpacing ? spacing : Eigen::Vector3d::Ones();
    transform.root = true;
    // Inside distances are distances to the background: the background voxels are the sources.
    squaredDistances(mask, !options.insideDistance, dims, transform, distances);
    if (!options.signedDistance)
        return true;
    try {
        ScratchVector<float> opposite(voxelCount(dims));
        squaredDistances(mask, options.insideDistance, dims, transform, opposite.data());
        const std::int64_t count = static_cast<std::int64_t>(opposite.size());
        // Each voxel is 0 in exactly one of the two transforms.
#pragma omp parallel for schedule(static) num_threads(threadsFor(opposite.size()))
        for (std::int64_t i = 0; i < count; ++i)
            distances[i] -= opposite[static_cast<std::size_t>(i)];
        return true;
    } catch (const std::bad_alloc&) {
        TW_LOG_ERROR("distanceTransform: not enough memory for a {}x{}x{} volume", dims.x(), dims.y(), dims.z());
        return false;
    }
}

std::unique_ptr<TypedImage<float>> distanceTransform(const TypedImage<unsigned char>& mask,
                                                     const DistanceTransformOptions& options) {
    if (mask.channels() != 1) {
        TW_LOG_ERROR("distanceTransform: expected a single-channel mask, got {} channels", mask.channels());
        return nullptr;
    }
    auto distances = TypedImage<float>::uninitialized(mask.descriptor());
    if (!distanceTransform(mask.pointer(), mask.dimensions(), mask.spacing(), options, distances->pointer()))
        return nullptr;
    return distances;
}

} // namespace Tarnwick::ImageOps
