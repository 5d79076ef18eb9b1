// Isotropic resampling of a vessel mask around its labels: the target spacing and grid are closed-form;
// the work is one pass to find the label bounds and one trilinear resampling of the mask onto the grid,
// O(input voxels + output voxels).

#include <TarnwickGraph/Algorithms/CenterlineResampling.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>
#include <TarnwickLib/ImageOps/LabelStatistics.h>

#include <cmath>

namespace Tarnwick::CenterlineResampling {

namespace {

constexpr double maxGridVoxels = 2147483648.0; // 2^31

} // namespace

double computeTargetSpacing(const ImageDescriptor& input, double minVesselDiameter, int minPixelResolution) {
    const Eigen::Vector3d& spacing = input.spacing;
    const double largest = input.is2D() ? spacing.head<2>().maxCoeff() : spacing.maxCoeff();
    const double wanted = minPixelResolution >= 1 ? minVesselDiameter / minPixelResolution : 0.0;
    return std::isfinite(wanted) && wanted > largest ? wanted : largest;
}

std::optional<ImageDescriptorWorld> computeTargetGrid(const ImageDescriptorWorld& input,
                                                      const Eigen::Vector3i& boundsMin,
                                                      const Eigen::Vector3i& boundsMax, double targetSpacing,
                                                      std::optional<int> closeHolesSize) {
    const int padding = closeHolesSize.value_or(0);
    if ((boundsMax.array() < boundsMin.array()).any() || !std::isfinite(targetSpacing) || targetSpacing <= 0.0 ||
        padding < 0)
        return std::nullopt;

    const bool is2D = input.descriptor.is2D();
    const int axes = is2D ? 2 : 3;
    Eigen::Vector3i dimensions(1, 1, 1);
    Eigen::Vector3d spacing(targetSpacing, targetSpacing, is2D ? 1.0 : targetSpacing);
    double voxels = 1.0;
    for (int axis = 0; axis < axes; ++axis) {
        const double extentMm =
            (boundsMax[axis] - boundsMin[axis] + 1.0) * input.descriptor.spacing[axis] / targetSpacing;
        const double n = std::ceil(extentMm * (1.0 - 1e-9));
        const double dimension = n + 2.0 * padding + 4.0 + (std::fmod(n, 2.0) == 0.0 ? 1.0 : 0.0);
        voxels *= dimension;
        if (voxels > maxGridVoxels)
            return std::nullopt;
        dimensions[axis] = static_cast<int>(dimension);
    }

    const Eigen::Vector3d centrePixel = ((boundsMin + boundsMax).cast<double>() / 2.0).array().round();
    Eigen::Matrix4d matrixToWorld = input.matrixToWorld;
    matrixToWorld.topRightCorner<3, 1>() =
        input.pixelToWorld(is2D ? Eigen::Vector3d(centrePixel.x(), centrePixel.y(), 0.0) : centrePixel);
    return ImageDescriptorWorld(ImageDescriptor(PixelType::UInt8, dimensions, 1, spacing), matrixToWorld);
}

std::shared_ptr<SharedImage> binaryMask(const SharedImage& labels) {
    if (labels.descriptor().pixelType == PixelType::UInt8)
        return std::make_shared<SharedImage>(labels.sharedMem(), labels.matrixToWorld(), Data::Label);
    return ImageProcessing::createThresholded(labels, 0.5);
}

std::unique_ptr<SharedImageSet> resampleLabelMap(const SharedImage& labels, const Options& options) {
    const std::shared_ptr<SharedImage> mask = binaryMask(labels);
    if (!mask)
        return nullptr;

    const auto bounds = ImageOps::computeBounds(*mask->mem());
    if (!bounds)
        return nullptr;
    if (bounds->empty()) {
        TW_LOG_ERROR("The label image has no foreground.");
        return nullptr;
    }
    Eigen::Vector3i low = bounds->begin()->second.min, high = bounds->begin()->second.max;
    for (const auto& [label, box] : *bounds) {
        low = low.cwiseMin(box.min);
        high = high.cwiseMax(box.max);
    }

    const double spacing =
        computeTargetSpacing(mask->descriptor(), options.minVesselDiameter, options.minPixelResolution);
    const std::optional<ImageDescriptorWorld> grid =
        computeTargetGrid(mask->descriptorWorld(), low, high, spacing, options.closeHolesSize);
    if (!grid) {
        TW_LOG_ERROR("Cannot place a resampling grid of spacing {} around the labels.", spacing);
        return nullptr;
    }
    TW_LOG_DEBUG("Resampling the label map from {} to {} on {}", mask->descriptor().spacing.maxCoeff(), spacing,
                 grid->descriptor.describe());

    SharedImageSet input(mask);
    ImageResamplingAlgorithm resampler(input, {*grid});
    resampler.interpolation = ImageResamplingAlgorithm::Linear;
    resampler.compute();
    OwningDataList output = resampler.takeOutput();
    std::unique_ptr<SharedImageSet> resampled = output.extractFirstImage();
    if (resampler.status() != Algorithm::Success || !resampled || resampled->empty())
        return nullptr;
    return resampled;
}

} // namespace Tarnwick::CenterlineResampling
