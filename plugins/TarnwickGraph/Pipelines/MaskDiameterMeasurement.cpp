#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace Tarnwick {

namespace {

/// Ray steps per voxel of the smallest spacing.
constexpr double rayStepsPerVoxel = 16.0;
/// The measurement refuses images whose rays would need more steps than this to cross them.
constexpr double maxRaySteps = 1e5;

/// The mask on the same voxels as a set of its own, placed so that a world point's pixel coordinate is
/// the original one plus 0.5, and with the shortest axis's spacing set to the smallest spacing divided
/// by the step refinement. The largest extent (which bounds the ray length) is kept.
std::unique_ptr<SharedImageSet> measuringView(const SharedImage& mask) {
    const ImageDescriptor& descriptor = mask.descriptor();
    const Eigen::Vector3d extent = descriptor.extent();
    const double smallest = descriptor.spacing.minCoeff();
    // Finer steps multiply the steps per ray; stay within the measurement's limit.
    const double refinement =
        std::clamp(maxRaySteps / (extent.maxCoeff() * 1.7320508075688772 / smallest), 1.0, rayStepsPerVoxel);
    int shortest = 0;
    extent.minCoeff(&shortest);
    ImageDescriptor viewDescriptor = descriptor;
    viewDescriptor.spacing[shortest] = smallest / refinement;

    auto& voxels = static_cast<TypedImage<unsigned char>&>(*mask.sharedMem());
    std::shared_ptr<MemImage> view(
        TypedImage<unsigned char>::create(viewDescriptor, voxels.pointer(), MemImage::Ownership::Borrow));
    // View image coordinates -> original image coordinates: undo the spacing change, then move half a voxel.
    Eigen::Matrix4d toImage = Eigen::Matrix4d::Identity();
    toImage.topLeftCorner<3, 3>() = descriptor.spacing.cwiseQuotient(viewDescriptor.spacing).asDiagonal();
    toImage.topRightCorner<3, 1>() = -0.5 * descriptor.spacing;
    return std::make_unique<SharedImageSet>(
        std::make_shared<SharedImage>(view, mask.matrixToWorld() * toImage, mask.modality()));
}

/// Diameters in a single-slice mask. Rays across an edge would leave the slice, so the radius is read
/// from the inside distance map instead (the distance from the edge's midpoint to the nearest background
/// voxel centre); a voxel without any background in the image reads 0 rather than infinity.
bool measurePlanarDiameters(Graph& graph, const SharedImage& mask) {
    std::unique_ptr<SharedImage> distance = DistanceTransform::computeChamfer(mask, true, true, false);
    if (!distance)
        return false;
    auto& values = static_cast<TypedImage<float>&>(*distance->sharedMem());
    float* value = values.pointer();
    for (std::size_t i = 0, n = values.descriptor().numValues(); i < n; ++i)
        if (!std::isfinite(value[i]))
            value[i] = 0.0f;
    const SharedImageSet radii(std::shared_ptr<SharedImage>(std::move(distance)));
    EvaluateGraphAtImageAlgorithm sampling(graph, radii);
    sampling.edgeFeatureName = std::optional<std::string>("diameter");
    sampling.compute();
    return sampling.status() == Algorithm::Success;
}

} // namespace

bool measureVesselDiameters(Graph& graph, const SharedImage& mask) {
    if (mask.descriptor().pixelType != PixelType::UInt8 || mask.descriptor().channels != 1) {
        TW_LOG_ERROR("Vessel diameters are measured in a single-channel unsigned 8-bit mask");
        return false;
    }
    bool measured = false;
    if (mask.descriptor().dimensions.z() == 1) {
        measured = measurePlanarDiameters(graph, mask);
    } else {
        // The view borrows the mask's voxels, so it must not outlive this call.
        const std::unique_ptr<SharedImageSet> view = measuringView(mask);
        ComputeCommonGraphFeaturesAlgorithm measurement(graph, view.get());
        measurement.mode = ComputeCommonGraphFeaturesAlgorithm::VesselDiameter;
        measurement.compute();
        measured = measurement.status() == Algorithm::Success;
    }
    if (!measured)
        TW_LOG_ERROR("Measuring the vessel diameters failed");
    return measured;
}

} // namespace Tarnwick
