// Host wrapper of the resampling kernel: resolves one target grid per image (given, or derived from a
// spacing), checks it, composes target pixel -> world -> source pixel and lets the kernel sample every
// target voxel. Cost O(target voxels) per image, parallel over slices.
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>

#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>
#include <TarnwickLib/ImageAlgorithms/ImageSetInput.h>
#include <TarnwickLib/ImageOps/Resampling.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <fmt/format.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

namespace Tarnwick {

namespace {

const char* const algorithmName = "Resampling";

bool isInvertibleAffine(const Eigen::Matrix4d& m) {
    return m.allFinite() && m.row(3) == Eigen::RowVector4d(0, 0, 0, 1) && m.topLeftCorner<3, 3>().determinant() != 0.0;
}

// The grid of `target` with the pixel type and channels of `image`: what resampling `image` produces.
ImageDescriptorWorld sampledGrid(const ImageDescriptorWorld& target, const SharedImage& image) {
    ImageDescriptorWorld grid = target;
    grid.descriptor.pixelType = image.descriptor().pixelType;
    grid.descriptor.channels = image.descriptor().channels;
    return grid;
}

// Why `image` cannot be sampled on `grid`; empty when it can.
std::string gridError(const ImageDescriptorWorld& grid, const SharedImage& image) {
    if (!isInvertibleAffine(image.matrixToWorld()))
        return "the image's matrix is not an invertible affine transform";
    if (!grid.descriptor.isValid())
        return "target " + grid.descriptor.validationError();
    if (grid.descriptor.numValues() > ImageOps::kMaxValueCount)
        return fmt::format("the target's {} values exceed the limit of {}", grid.descriptor.numValues(),
                           ImageOps::kMaxValueCount);
    if (!isInvertibleAffine(grid.matrixToWorld))
        return "the target matrix is not an invertible affine transform";
    return {};
}

// Samples `image` on `grid`. A Label uint8 mask sampled linearly is first reduced to its 0/1
// indicator, whose interpolation the kernel rounds to 1 where it reaches 0.5.
std::unique_ptr<SharedImage> resample(const SharedImage& image, const ImageDescriptorWorld& grid, bool linear) {
    const Eigen::Matrix4d targetToSource = image.worldToPixelMatrix() * grid.pixelToWorldMatrix();
    const ImageOps::ResamplingOptions options{linear ? ImageOps::Interpolation::Linear
                                                     : ImageOps::Interpolation::Nearest};
    std::unique_ptr<SharedImage> indicator;
    if (linear && image.descriptor().pixelType == PixelType::UInt8 && image.modality() == Data::Label) {
        indicator = ImageProcessing::createThresholded(image, 0.0);
        if (!indicator)
            return nullptr;
    }
    const MemImage& source = indicator ? *indicator->mem() : *image.mem();
    auto values =
        ImageOps::resample(source, grid.descriptor.dimensions, grid.descriptor.spacing, targetToSource, options);
    if (!values)
        return nullptr;
    return std::make_unique<SharedImage>(std::move(values), grid.matrixToWorld, image.modality());
}

} // namespace

ImageResamplingAlgorithm::ImageResamplingAlgorithm(SharedImageSet& images, std::vector<ImageDescriptorWorld> targets)
    : m_images(images), m_targets(std::move(targets)) {
    interpolation.setAttribute("values", "Nearest,Linear");
    spacing.setAttribute("tooltip", "Output voxel size in mm when no target grid is given; 0 keeps the input's "
                                    "spacing along that axis.");
}

bool ImageResamplingAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    return ImageSetInput::createCompatible<ImageResamplingAlgorithm>(data, out);
}

ImageDescriptorWorld ImageResamplingAlgorithm::targetForSpacing(const SharedImage& image,
                                                                const Eigen::Vector3d& spacingMm) {
    ImageDescriptor descriptor = image.descriptor();
    const int axes = descriptor.is2D() ? 2 : 3;
    for (int axis = 0; axis < axes; ++axis) {
        if (!(spacingMm[axis] > 0.0))
            continue;
        const double extent = descriptor.dimensions[axis] * descriptor.spacing[axis];
        // Clamped so that an absurd spacing yields a grid the size check refuses, not an overflow.
        const double voxels = std::round(extent / spacingMm[axis]);
        descriptor.dimensions[axis] =
            voxels >= std::numeric_limits<int>::max() ? std::numeric_limits<int>::max() : std::max(1, int(voxels));
        descriptor.spacing[axis] = spacingMm[axis];
    }
    // The image frame has its origin at the volume centre, so the same matrix keeps the volume in place.
    return {descriptor, image.matrixToWorld()};
}

std::vector<ImageDescriptorWorld> ImageResamplingAlgorithm::resolveTargets() {
    const int count = m_images.size();
    std::vector<ImageDescriptorWorld> resolved;
    if (m_targets.empty()) {
        const Eigen::Vector3d& spacingMm = spacing;
        if (!spacingMm.allFinite() || spacingMm.minCoeff() < 0.0) {
            ImageSetInput::fail(*this, InvalidInput, algorithmName,
                                fmt::format("invalid spacing {}x{}x{}: components must be finite and not negative.",
                                            spacingMm.x(), spacingMm.y(), spacingMm.z()));
            return {};
        }
        if (spacingMm == Eigen::Vector3d::Zero()) {
            ImageSetInput::fail(*this, InvalidInput, algorithmName, "neither target grids nor a spacing given.");
            return {};
        }
        for (int i = 0; i < count; ++i)
            resolved.push_back(targetForSpacing(*m_images.get(i), spacingMm));
    } else if (m_targets.size() == 1 || static_cast<int>(m_targets.size()) == count) {
        for (int i = 0; i < count; ++i)
            resolved.push_back(sampledGrid(m_targets[m_targets.size() == 1 ? 0 : i], *m_images.get(i)));
    } else {
        ImageSetInput::fail(*this, InvalidInput, algorithmName,
                            fmt::format("{} target grids for {} images; give one for all images or one per image.",
                                        m_targets.size(), count));
        return {};
    }
    for (int i = 0; i < count; ++i) {
        const std::string error = gridError(resolved[i], *m_images.get(i));
        if (!error.empty()) {
            ImageSetInput::fail(*this, InvalidInput, algorithmName,
                                fmt::format("cannot resample image {}: {}.", i + 1, error));
            return {};
        }
    }
    return resolved;
}

void ImageResamplingAlgorithm::compute() {
    setStatus(Error);
    m_output.clear();
    if (!ImageSetInput::requireImages(*this, m_images, algorithmName))
        return;
    if (interpolation != Nearest && interpolation != Linear) {
        ImageSetInput::fail(*this, InvalidInput, algorithmName,
                            fmt::format("unknown interpolation {}.", int(interpolation)));
        return;
    }
    const std::vector<ImageDescriptorWorld> grids = resolveTargets();
    if (grids.empty())
        return;
    try {
        auto resampled = ImageSetInput::mapImages(*this, m_images, algorithmName, [&](const SharedImage& image, int i) {
            return resample(image, grids[i], interpolation == Linear);
        });
        if (!resampled)
            return;
        m_output.add(std::move(resampled));
        setStatus(Success);
    } catch (const std::exception& e) {
        ImageSetInput::fail(*this, Error, algorithmName, e.what());
    }
}

} // namespace Tarnwick
