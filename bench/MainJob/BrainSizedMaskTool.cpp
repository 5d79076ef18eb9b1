// Writes a brain-sized synthetic vessel mask as a NIfTI file: random branching tubes (2-3 % of the
// voxels), 742 x 744 x 485 voxels by default, in the pixel type asked for.
// Usage: tarnwick-brain-mask OUTPUT.nii[.gz] [int16|uint8] [SPACING_MM] [NX NY NZ]

#include "VesselMaskGenerator.h"

#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace Tarnwick;

namespace {

template <typename T>
std::shared_ptr<MemImage> toImage(const std::vector<std::uint8_t>& mask, const ImageDescriptor& descriptor) {
    auto image = TypedImage<T>::uninitialized(descriptor);
    for (std::size_t i = 0; i < mask.size(); ++i)
        image->pointer()[i] = static_cast<T>(mask[i]);
    return image;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3 && argc != 4 && argc != 7) {
        std::fprintf(stderr, "usage: %s OUTPUT.nii[.gz] [int16|uint8] [SPACING_MM] [NX NY NZ]\n", argv[0]);
        return 2;
    }
    const std::string type = argc > 2 ? argv[2] : "int16";
    const double spacing = argc > 3 ? std::atof(argv[3]) : 0.5;
    Bench::VesselMaskOptions options;
    options.dims = {742, 744, 485};
    if (argc == 7)
        options.dims = {std::atoi(argv[4]), std::atoi(argv[5]), std::atoi(argv[6])};
    options.minRadius = 1.0;
    options.maxRadius = 6.0;
    if ((type != "int16" && type != "uint8") || !(spacing > 0) || options.dims.minCoeff() < 8 ||
        options.dims.maxCoeff() > 2048) {
        std::fprintf(stderr, "bad type, spacing or size\n");
        return 2;
    }
    const std::vector<std::uint8_t> mask = Bench::generateVesselMask(options);
    std::size_t foreground = 0;
    for (std::uint8_t value : mask)
        foreground += value;
    ImageDescriptor descriptor;
    descriptor.pixelType = type == "int16" ? PixelType::Int16 : PixelType::UInt8;
    descriptor.dimensions = options.dims;
    descriptor.spacing = Eigen::Vector3d::Constant(spacing);
    auto mem = type == "int16" ? toImage<short>(mask, descriptor) : toImage<unsigned char>(mask, descriptor);
    const SharedImageSet set(std::make_shared<SharedImage>(mem));
    const ImageFileIO::SaveResult saved = ImageFileIO::save(set, argv[1]);
    if (!saved) {
        std::fprintf(stderr, "%s\n", saved.error.c_str());
        return 1;
    }
    std::printf("%d x %d x %d voxels, %.2f %% foreground\n", options.dims.x(), options.dims.y(), options.dims.z(),
                100.0 * double(foreground) / double(mask.size()));
    return 0;
}
