#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>
#include <TarnwickLib/ImageOps/DistanceTransform.h>

#include <exception>

namespace Tarnwick::DistanceTransform {

std::unique_ptr<SharedImage> computeChamfer(const SharedImage& labels, bool useSpacing, bool insideDistance,
                                            bool signedDistance) {
    if (labels.descriptor().channels != 1) {
        TW_LOG_ERROR("Distance transform: expected a single-channel label image, got {}",
                     labels.descriptor().describe());
        return nullptr;
    }
    try {
        // The kernel takes non-zero uint8 voxels as foreground; other types become such a mask first.
        std::unique_ptr<SharedImage> mask;
        const SharedImage* source = &labels;
        if (labels.descriptor().pixelType != PixelType::UInt8) {
            mask = ImageProcessing::createThresholded(labels, 0.0);
            if (!mask)
                return nullptr;
            source = mask.get();
        }
        auto distances =
            ImageOps::distanceTransform(*source->typed<unsigned char>(), {useSpacing, insideDistance, signedDistance});
        if (!distances)
            return nullptr;
        return std::make_unique<SharedImage>(std::move(distances), labels.matrixToWorld(), Data::Distance);
    } catch (const std::exception& e) {
        TW_LOG_ERROR("Distance transform of {} failed: {}", labels.descriptor().describe(), e.what());
        return nullptr;
    }
}

std::unique_ptr<SharedImage> computeChamfer(const SharedImageSet& labels, bool useSpacing, bool insideDistance,
                                            bool signedDistance) {
    const SharedImage* image = labels.get();
    if (!image) {
        TW_LOG_ERROR("Distance transform: the label image set is empty");
        return nullptr;
    }
    return computeChamfer(*image, useSpacing, insideDistance, signedDistance);
}

} // namespace Tarnwick::DistanceTransform
