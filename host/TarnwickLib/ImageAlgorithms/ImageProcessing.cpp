#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/ImageOps/Thresholding.h>

#include <exception>

namespace Tarnwick::ImageProcessing {

std::unique_ptr<SharedImage> createThresholded(const SharedImage& image, double threshold,
                                               const ThresholdOptions& options) {
    try {
        auto mask = ImageOps::threshold(*image.mem(), threshold);
        if (!mask)
            return nullptr;
        return std::make_unique<SharedImage>(std::move(mask), image.matrixToWorld(), options.modality);
    } catch (const std::exception& e) {
        TW_LOG_ERROR("Thresholding {} failed: {}", image.descriptor().describe(), e.what());
        return nullptr;
    }
}

} // namespace Tarnwick::ImageProcessing
