#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/ImageDescriptorWorld.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <Eigen/Core>

#include <vector>

namespace Tarnwick {

/// Resamples every image of a set onto a target grid placed in world space, so that each output voxel
/// takes the input's value at the same world position (nearest voxel or trilinear); positions outside
/// the input get 0. The target voxel -> source voxel map is composed from the world matrices (target
/// pixel -> world -> source pixel), so any spacing, size, rotation and translation of the target work.
///
/// Targets: either given at construction, one for the whole set or one per image,
/// of which the dimensions, spacing and matrixToWorld are used (pixel type and channels come from the
/// input); or, when none are given, derived from the `spacing` parameter: the same volume and placement
/// (the image frame is centred) sampled at that spacing, n' = max(1, round(n * spacing / spacing')) voxels
/// per axis, a component of 0 keeping the input's spacing on that axis; a 2-D image stays 2-D.
///
/// Masks: an unsigned 8-bit image of modality Label resampled with Linear is treated as a binary mask
/// (non-zero is foreground): its 0/1 indicator is interpolated and rounded, giving a 0/1 mask that is 1
/// where the interpolated value reaches 0.5. This keeps structures about one voxel thin that nearest-neighbour sampling
/// would break up when the grids are not aligned. Label values are not kept; use Nearest to keep them.
///
/// Output: one image set with one image per input image, each with its target placement, the input's
/// pixel type, channels and modality. Status: Success; IncompleteInput for an empty set; InvalidInput
/// for a target count other than 1 or the number of images, an invalid target (dimension < 1, spacing
/// not finite and positive, matrix not finite or not invertible), or neither targets nor a spacing;
/// Error when resampling fails (memory). Each failure logs a message and leaves no output.
class ImageResamplingAlgorithm : public Algorithm {
public:
    enum Interpolation : int { Nearest = 0, Linear = 1 };

    /// `images` is borrowed and must outlive the algorithm.
    explicit ImageResamplingAlgorithm(SharedImageSet& images, std::vector<ImageDescriptorWorld> targets = {});

    /// Exactly one item, an image set (targets then come from the `spacing` parameter).
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// The grid of `image` resampled to `spacingMm` as described above (components <= 0 keep the
    /// image's spacing); the pixel type and channels are the image's.
    static ImageDescriptorWorld targetForSpacing(const SharedImage& image, const Eigen::Vector3d& spacingMm);

    /// Labels "Nearest,Linear".
    Parameter<Interpolation> interpolation{"interpolation", Linear, this};
    /// Output spacing in millimetres when no targets were given; 0 keeps the input's spacing on that axis.
    Parameter<Eigen::Vector3d> spacing{"spacing", Eigen::Vector3d::Zero(), this};

private:
    /// The target of each image, from m_targets or the spacing; empty with the status set on failure.
    std::vector<ImageDescriptorWorld> resolveTargets();

    SharedImageSet& m_images;
    std::vector<ImageDescriptorWorld> m_targets;
};

} // namespace Tarnwick
