#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <cmath>

namespace Tarnwick::ImageOps {

bool validateVolume(std::string_view operation, const void* data, const Eigen::Vector3i& dims, int channels) {
    if (dims.minCoeff() < 1) {
        TW_LOG_ERROR("{}: invalid dimensions {}x{}x{} (every dimension must be at least 1)", operation, dims.x(),
                     dims.y(), dims.z());
        return false;
    }
    if (dims.maxCoeff() > kMaxAxisLength) {
        TW_LOG_ERROR("{}: dimensions {}x{}x{} exceed the limit of {} voxels along an axis", operation, dims.x(),
                     dims.y(), dims.z(), kMaxAxisLength);
        return false;
    }
    if (channels < 1) {
        TW_LOG_ERROR("{}: invalid channel count {}", operation, channels);
        return false;
    }
    const std::uint64_t values = static_cast<std::uint64_t>(dims.x()) * static_cast<std::uint64_t>(dims.y()) *
                                 static_cast<std::uint64_t>(dims.z()) * static_cast<std::uint64_t>(channels);
    if (values > kMaxValueCount) {
        TW_LOG_ERROR("{}: volume {}x{}x{} with {} channel(s) exceeds the limit of {} values", operation, dims.x(),
                     dims.y(), dims.z(), channels, kMaxValueCount);
        return false;
    }
    if (!data) {
        TW_LOG_ERROR("{}: no voxel buffer given", operation);
        return false;
    }
    return true;
}

bool validateSpacing(std::string_view operation, const Eigen::Vector3d& spacing) {
    for (int axis = 0; axis < 3; ++axis) {
        if (!std::isfinite(spacing[axis]) || spacing[axis] <= 0.0) {
            TW_LOG_ERROR("{}: invalid spacing {}x{}x{} (every component must be finite and positive)", operation,
                         spacing.x(), spacing.y(), spacing.z());
            return false;
        }
    }
    return true;
}

} // namespace Tarnwick::ImageOps
