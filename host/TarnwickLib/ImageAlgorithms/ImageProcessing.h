#pragma once

#include <TarnwickLib/Image/SharedImage.h>

#include <memory>

/// Per-voxel operations that turn one host image into another, placed where the input is.
namespace Tarnwick::ImageProcessing {

struct ThresholdOptions {
    /// Modality of the mask.
    Data::Modality modality = Data::Label;
};

/// A uint8 mask of `image`: 1 where a value is > threshold, else 0 (NaN gives 0), compared exactly for
/// every pixel type; channels are thresholded one by one. The mask keeps the image's dimensions,
/// channels, spacing and matrix and gets options.modality. Computed by ImageOps::threshold; O(values),
/// parallel. Null, with an error logged, when the memory cannot be had.
std::unique_ptr<SharedImage> createThresholded(const SharedImage& image, double threshold,
                                               const ThresholdOptions& options = {});

} // namespace Tarnwick::ImageProcessing
