#include <TarnwickLib/ImageAlgorithms/DistanceTransformAlgorithm.h>

#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>
#include <TarnwickLib/ImageAlgorithms/ImageSetInput.h>

#include <fmt/format.h>

namespace Tarnwick {

namespace {

const char* const algorithmName = "Distance transform";

} // namespace

DistanceTransformAlgorithm::DistanceTransformAlgorithm(SharedImageSet& images) : m_images(images) {
    useSpacing.setAttribute("tooltip", "Distances in millimetres instead of voxel steps.");
    insideDistance.setAttribute("tooltip", "Distance of each foreground voxel to the background instead of the "
                                           "distance of each background voxel to the foreground.");
    signedDistance.setAttribute("tooltip", "Negative distances on the other side instead of 0.");
}

bool DistanceTransformAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    return ImageSetInput::createCompatible<DistanceTransformAlgorithm>(data, out);
}

void DistanceTransformAlgorithm::compute() {
    setStatus(Error);
    m_output.clear();
    if (!ImageSetInput::requireImages(*this, m_images, algorithmName))
        return;
    for (int i = 0; i < m_images.size(); ++i) {
        if (m_images.get(i)->descriptor().channels != 1) {
            ImageSetInput::fail(*this, InvalidInput, algorithmName,
                                fmt::format("image {} is {}; single-channel images are required.", i + 1,
                                            m_images.get(i)->descriptor().describe()));
            return;
        }
    }
    auto distances = ImageSetInput::mapImages(*this, m_images, algorithmName, [&](const SharedImage& image, int) {
        return DistanceTransform::computeChamfer(image, useSpacing, insideDistance, signedDistance);
    });
    if (!distances)
        return;
    m_output.add(std::move(distances));
    setStatus(Success);
}

} // namespace Tarnwick
