#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

/// ImageProcessing::createThresholded on every image of a set, for menus and the command line: uint8
/// masks (1 where a value is > `threshold`), modality Label, placed like the input images.
///
/// Output: one image set with one mask per image. Status: Success; IncompleteInput for an empty set;
/// InvalidInput for a threshold that is not a number; Error when thresholding fails (memory). Each
/// failure logs a message and leaves no output.
class ThresholdAlgorithm : public Algorithm {
public:
    /// `images` is borrowed and must outlive the algorithm.
    explicit ThresholdAlgorithm(SharedImageSet& images);

    /// Exactly one item, an image set.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    Parameter<double> threshold{"threshold", 0.5, this};

private:
    SharedImageSet& m_images;
};

} // namespace Tarnwick
