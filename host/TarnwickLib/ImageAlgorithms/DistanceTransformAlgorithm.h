#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

/// DistanceTransform::computeChamfer on every image of a set, for menus and the command line. The
/// three flags are parameters with the same meaning; the defaults give the inside distance in
/// millimetres, unsigned.
///
/// Output: one image set of float images (modality Distance), one per input image, placed like them.
/// Status: Success; IncompleteInput for an empty set; InvalidInput for a multi-channel image; Error when
/// the transform fails (memory). Each failure logs a message and leaves no output.
class DistanceTransformAlgorithm : public Algorithm {
public:
    /// `images` is borrowed and must outlive the algorithm.
    explicit DistanceTransformAlgorithm(SharedImageSet& images);

    /// Exactly one item, an image set.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    Parameter<bool> useSpacing{"useSpacing", true, this};
    Parameter<bool> insideDistance{"insideDistance", true, this};
    Parameter<bool> signedDistance{"signedDistance", false, this};

private:
    SharedImageSet& m_images;
};

} // namespace Tarnwick
