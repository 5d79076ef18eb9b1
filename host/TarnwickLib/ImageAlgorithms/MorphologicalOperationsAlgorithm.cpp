// Host wrapper of the binary morphology and thinning kernels: checks the set once, then runs the
// selected operation image by image, in place or into new masks. Each ball operation is one or two
// distance transforms (opening and closing two) rather than a sweep of the ball; thinning costs
// O(voxels) plus O(border voxels) per thinning step. See the kernels for details.
#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>

#include <TarnwickLib/ImageAlgorithms/ImageSetInput.h>
#include <TarnwickLib/ImageOps/Morphology.h>
#include <TarnwickLib/ImageOps/Thinning.h>

#include <fmt/format.h>

#include <exception>

namespace Tarnwick {

namespace {

const char* const algorithmName = "Morphological operations";

// Runs `mode` on `mask` into `result`, which may be `mask` itself; false when the kernel failed.
bool runOperation(MorphologicalOperationsAlgorithm::OpMode mode, int size, const TypedImage<unsigned char>& mask,
                  TypedImage<unsigned char>& result) {
    if (mode == MorphologicalOperationsAlgorithm::Thinning)
        return ImageOps::thin(mask.pointer(), mask.dimensions(), result.pointer());
    static const ImageOps::MorphologyOperation operations[] = {
        ImageOps::MorphologyOperation::Dilation, ImageOps::MorphologyOperation::Erosion,
        ImageOps::MorphologyOperation::Opening, ImageOps::MorphologyOperation::Closing};
    return ImageOps::morphology(mask.pointer(), mask.dimensions(), {operations[mode], size}, result.pointer());
}

} // namespace

MorphologicalOperationsAlgorithm::MorphologicalOperationsAlgorithm(SharedImageSet& images) : m_images(images) {
    mode.setAttribute("values", "Dilation,Erosion,Opening,Closing,Thinning");
    opSize.setAttribute("min", "0");
    opSize.setAttribute("tooltip", "Radius in voxels of the ball used by dilation, erosion, opening and closing.");
    inPlace.setAttribute("tooltip", "Overwrite the input masks instead of creating a new image set.");
}

bool MorphologicalOperationsAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    return ImageSetInput::createCompatible<MorphologicalOperationsAlgorithm>(data, out);
}

bool MorphologicalOperationsAlgorithm::validateInput() {
    if (!ImageSetInput::requireImages(*this, m_images, algorithmName))
        return false;
    if (mode < Dilation || mode > Thinning)
        return ImageSetInput::fail(*this, InvalidInput, algorithmName, fmt::format("unknown mode {}.", int(mode)));
    if (opSize < 0)
        return ImageSetInput::fail(*this, InvalidInput, algorithmName,
                                   fmt::format("the operation size must not be negative (got {}).", int(opSize)));
    for (int i = 0; i < m_images.size(); ++i) {
        const ImageDescriptor& descriptor = m_images.get(i)->descriptor();
        if (descriptor.pixelType != PixelType::UInt8 || descriptor.channels != 1)
            return ImageSetInput::fail(
                *this, InvalidInput, algorithmName,
                fmt::format("image {} is {}; a single-channel uint8 mask is required (threshold the image first).",
                            i + 1, descriptor.describe()));
    }
    return true;
}

void MorphologicalOperationsAlgorithm::compute() {
    setStatus(Error);
    m_output.clear();
    if (!validateInput())
        return;
    try {
        if (inPlace) {
            for (int i = 0; i < m_images.size(); ++i) {
                SharedImage& image = *m_images.get(i);
                TypedImage<unsigned char>& mask = *image.typed<unsigned char>();
                if (!runOperation(mode, opSize, mask, mask)) {
                    ImageSetInput::fail(*this, Error, algorithmName, fmt::format("failed on image {}.", i + 1));
                    return;
                }
                image.setDirtyMem();
            }
        } else {
            auto results = ImageSetInput::mapImages(
                *this, m_images, algorithmName, [&](const SharedImage& image, int) -> std::unique_ptr<SharedImage> {
                    const TypedImage<unsigned char>& mask = *image.typed<unsigned char>();
                    auto result = TypedImage<unsigned char>::uninitialized(mask.descriptor());
                    if (!runOperation(mode, opSize, mask, *result))
                        return nullptr;
                    return std::make_unique<SharedImage>(std::move(result), image.matrixToWorld(), image.modality());
                });
            if (!results)
                return;
            m_output.add(std::move(results));
        }
        setStatus(Success);
    } catch (const std::exception& e) {
        ImageSetInput::fail(*this, Error, algorithmName, e.what());
    }
}

} // namespace Tarnwick
