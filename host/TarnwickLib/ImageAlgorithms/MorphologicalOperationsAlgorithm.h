#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

/// Binary morphology on the masks of an image set: dilation, erosion, opening and closing with a ball
/// of radius `opSize` voxels (the voxels within Euclidean distance opSize in voxel units, so spacing is
/// ignored), and thinning to a skeleton (`opSize` unused). Computed by the ImageOps kernels (morphology
/// through exact distance transforms rather than sweeps of the ball; thinning by the 3-D
/// medial-axis method of Lee, Kashyap and Chu). Masks with dimension z = 1 are processed in 2-D.
/// Outside the volume counts as background, so erosion (and hence opening and closing) also works from
/// the volume border; pad a mask by opSize voxels to keep closing away from it.
///
/// Input: single-channel unsigned 8-bit masks, non-zero voxels being foreground; any other image is
/// refused with InvalidInput (threshold it first), because the operation may run in place and cannot
/// change the pixel type of an image there. The results are 0/1 masks.
///
/// In place, every image's memory is overwritten (also for images sharing it) and there is no output;
/// otherwise the output is one new image set with one result per image, with the input's placement and
/// modality.
///
/// Status: Success; IncompleteInput for an empty set; InvalidInput for another pixel type, several
/// channels or a negative opSize; Error when the operation fails (memory). Each failure logs a message.
class MorphologicalOperationsAlgorithm : public Algorithm {
public:
    /// Labels: "Dilation,Erosion,Opening,Closing,Thinning".
    enum OpMode : int { Dilation = 0, Erosion = 1, Opening = 2, Closing = 3, Thinning = 4 };

    /// `images` is borrowed and must outlive the algorithm.
    explicit MorphologicalOperationsAlgorithm(SharedImageSet& images);

    /// Exactly one item, an image set.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    void setOpMode(OpMode value) { mode = value; }
    void setOpSize(int value) { opSize = value; }
    void setInPlace(bool value) { inPlace = value; }

    Parameter<OpMode> mode{"mode", Dilation, this};
    /// Ball radius in voxels; 0 leaves a mask as it is.
    Parameter<int> opSize{"opSize", 1, this};
    Parameter<bool> inPlace{"inPlace", false, this};

private:
    /// Checks every image; false with the status set and a message logged.
    bool validateInput();

    SharedImageSet& m_images;
};

} // namespace Tarnwick
