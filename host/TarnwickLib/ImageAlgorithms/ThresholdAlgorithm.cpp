#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>

#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>
#include <TarnwickLib/ImageAlgorithms/ImageSetInput.h>

#include <cmath>

namespace Tarnwick {

namespace {

const char* const algorithmName = "Threshold";

} // namespace

ThresholdAlgorithm::ThresholdAlgorithm(SharedImageSet& images) : m_images(images) {
    threshold.setAttribute("tooltip", "Voxels with a value above the threshold become 1, all others 0.");
}

bool ThresholdAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    return ImageSetInput::createCompatible<ThresholdAlgorithm>(data, out);
}

void ThresholdAlgorithm::compute() {
    setStatus(Error);
    m_output.clear();
    if (!ImageSetInput::requireImages(*this, m_images, algorithmName))
        return;
    if (std::isnan(threshold)) {
        ImageSetInput::fail(*this, InvalidInput, algorithmName, "the threshold is not a number.");
        return;
    }
    auto masks = ImageSetInput::mapImages(*this, m_images, algorithmName, [&](const SharedImage& image, int) {
        return ImageProcessing::createThresholded(image, threshold);
    });
    if (!masks)
        return;
    m_output.add(std::move(masks));
    setStatus(Success);
}

} // namespace Tarnwick
