#include "MaskDiameterMeasurement.h"
#include "ConfiguredAlgorithm.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace Tarnwick::Cli {

namespace {

/// Ray steps per voxel of the smallest spacing.
constexpr double rayStepsPerVoxel = 16.0;
/// The measurement refuses images whose rays would need more steps than this to cross them.
constexpr double maxRaySteps = 1e5;

/// The image on the same voxels as a set of its own, placed so that a world point's pixel coordinate is
/// the original one plus 0.5, and with the shortest axis's spacing set to the smallest spacing divided
/// by the step refinement. The largest extent (which bounds the ray length) is kept.
std::unique_ptr<SharedImageSet> measuringView(const SharedImage& image) {
    const ImageDescriptor& descriptor = image.descriptor();
    const Eigen::Vector3d extent = descriptor.extent();
    const double smallest = descriptor.spacing.minCoeff();
    // Finer steps multiply the steps per ray; stay within the measurement's limit.
    const double refinement =
        std::clamp(maxRaySteps / (extent.maxCoeff() * 1.7320508075688772 / smallest), 1.0, rayStepsPerVoxel);
    int shortest = 0;
    extent.minCoeff(&shortest);
    ImageDescriptor viewDescriptor = descriptor;
    viewDescriptor.spacing[shortest] = smallest / refinement;

    std::shared_ptr<MemImage> voxels = image.sharedMem();
    std::shared_ptr<MemImage> view = dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        return std::shared_ptr<MemImage>(TypedImage<T>::create(
            viewDescriptor, static_cast<TypedImage<T>&>(*voxels).pointer(), MemImage::Ownership::Borrow));
    });
    // View image coordinates -> original image coordinates: undo the spacing change, then move half a voxel.
    Eigen::Matrix4d toImage = Eigen::Matrix4d::Identity();
    toImage.topLeftCorner<3, 3>() = descriptor.spacing.cwiseQuotient(viewDescriptor.spacing).asDiagonal();
    toImage.topRightCorner<3, 1>() = -0.5 * descriptor.spacing;
    return std::make_unique<SharedImageSet>(
        std::make_shared<SharedImage>(view, image.matrixToWorld() * toImage, image.modality()));
}

/// Diameters in a single-slice image. Rays across an edge would leave the slice, so the radius is read
/// from the inside distance map instead (the distance from the edge's midpoint to the nearest background
/// voxel centre); a voxel without any background in the image reads 0 rather than infinity.
bool measurePlanarDiameters(Data& graph, const SharedImage& image) {
    std::unique_ptr<SharedImage> distance = DistanceTransform::computeChamfer(image, true, true, false);
    if (!distance)
        return false;
    TypedImage<float>& values = static_cast<TypedImage<float>&>(*distance->sharedMem());
    float* value = values.pointer();
    for (std::size_t i = 0, n = values.descriptor().numValues(); i < n; ++i)
        if (!std::isfinite(value[i]))
            value[i] = 0.0f;
    SharedImageSet radii(std::shared_ptr<SharedImage>(std::move(distance)));
    std::unique_ptr<Algorithm> sampling = createConfiguredAlgorithm("EvaluateGraphAtImage", DataList({&graph, &radii}),
                                                                    {{"edgeFeatureName", "diameter"}});
    if (!sampling)
        return false;
    sampling->compute();
    return sampling->status() == Algorithm::Success;
}

} // namespace

bool measureVesselDiameters(Data& graph, const SharedImageSet& mask) {
    const SharedImage* image = mask.get(-1);
    if (!image) {
        TW_LOG_ERROR("There is no mask image to measure vessel diameters in");
        return false;
    }
    if (image->descriptor().dimensions.z() == 1) {
        if (measurePlanarDiameters(graph, *image))
            return true;
        TW_LOG_ERROR("Measuring the vessel diameters failed");
        return false;
    }
    // The view borrows the mask's voxels, so it must not outlive this call.
    const std::unique_ptr<SharedImageSet> view = measuringView(*image);
    std::unique_ptr<Algorithm> measurement =
        createConfiguredAlgorithm("ComputeFeatures", DataList({&graph, view.get()}), {{"mode", "VesselDiameter"}});
    if (!measurement)
        return false;
    measurement->compute();
    if (measurement->status() != Algorithm::Success) {
        TW_LOG_ERROR("Measuring the vessel diameters failed");
        return false;
    }
    return true;
}

} // namespace Tarnwick::Cli
