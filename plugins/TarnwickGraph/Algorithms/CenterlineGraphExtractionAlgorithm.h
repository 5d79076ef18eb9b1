#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/ImageDescriptorWorld.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// Turns a vessel segmentation (binary or label mask) into a centerline graph: one node per centerline
/// voxel of the thinned, isotropically resampled mask, edges between 26-adjacent centerline voxels, then
/// small components dropped, short side branches pruned against the local radius and the positions
/// smoothed.
///
/// Frame of the result: node positions are in the IMAGE coordinates of the input image (millimetres
/// along the input's voxel axes, origin at the centre of the input volume), and the graph's
/// matrixToWorld() is the input image's matrixToWorld(), so matrixToWorld * position is the world (LPS,
/// as the image file defines it) position of the node.
///
/// Status: Success; Error with "Empty input image set provided.", "Not implemented.", "Could not resample
/// input", "Failed to compute skeleton.", "Failed to extract skeleton as graph.", "Partitioning failed." or
/// "Failed to compute the distance map."; an all-zero mask logs the warning "Input label image is empty." and outputs an empty graph
/// while the status stays Error.
class CenterlineGraphExtractionAlgorithm : public Algorithm {
public:
    enum Mode : int { Skeletonization = 0 };
    enum LabelProcessing : int { AllLabelsAsForeground = 0, EachLabelSeparately = 1 };

    /// Skeleton voxel linear index (x fastest) -> neighbour index -> step weight (1 face, 2 edge, 3
    /// corner neighbour).
    using RawGraph = std::map<int, std::map<int, int>>;

    /// Wall-clock seconds of one pipeline stage of the last compute().
    struct StageTime {
        std::string stage;
        double seconds = 0.0;
    };

    /// input is borrowed.
    explicit CenterlineGraphExtractionAlgorithm(SharedImageSet& input);

    /// Compatible with exactly one image set holding exactly one image.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Hands over the result graph (one item); afterwards the algorithm holds none.
    OwningDataList takeOutput() override;

    /// The graph of the last run, or null before a run and after takeOutput().
    const Graph* result() const { return m_result.get(); }
    /// The skeleton of the resampled mask from the last run, or null.
    const SharedImageSet* skeleton() const { return m_skeleton.get(); }
    /// Stage timings of the last run, in pipeline order.
    const std::vector<StageTime>& stageTimes() const { return m_stageTimes; }

    /// The raw graph of a skeleton: every foreground voxel (non-zero; float and double: > 0.5) becomes a
    /// node, linked both ways to every foreground voxel of its 3x3x3 neighbourhood (3x3 in 2-D). With
    /// `parallel` the z slices are scanned by OpenMP threads and merged in slice order, so the result
    /// does not depend on the thread count. Empty for a multi-channel image or one with 2^31 voxels or
    /// more. O(voxels + 26 * skeleton voxels * log).
    static RawGraph skeletonAsRawGraph(const SharedImage& skeleton, bool parallel);

    /// An undirected graph (2-D for a 2-D descriptor) with one node per raw node, at the voxel's image
    /// coordinates (pixelToImageMatrix of `frame`), and one edge per neighbour pair, no features; its
    /// matrixToWorld is the frame's. Node ids follow the ascending raw index. A float `potential` on the
    /// same grid moves each node with adjustNode(); any other pixel type logs "Expected potential image
    /// to be of type float" and moves nothing.
    static std::unique_ptr<Graph> rawSkeletonGraphToGraph(const RawGraph& raw, const ImageDescriptorWorld& frame,
                                                          const SharedImage* potential);

    /// Moves a pixel position up the potential's central-difference gradient at the nearest voxel by at
    /// most half a voxel (the gradient scaled so that its largest component is 0.5), which pulls a
    /// centerline voxel towards a ridge of the potential such as a distance map's maximum. A flat or
    /// outside position stays.
    static Eigen::Vector3d adjustNode(const Eigen::Vector3d& pixel, const SharedImage& potential);

    Parameter<Mode> mode{"mode", Skeletonization, this};
    /// Not read by the computation.
    Parameter<LabelProcessing> labelProcessing{"labelProcessing", AllLabelsAsForeground, this};
    /// Millimetres.
    Parameter<double> minVesselDiameter{"minVesselDiameter", 1.0, this};
    Parameter<int> minPixelResolution{"minPixelResolution", 6, this};
    Parameter<int> minComponentSize{"minComponentSize", 3, this};
    /// Pixels; unset skips the closing.
    Parameter<std::optional<int>> closeHolesSize{"closeHolesSize", 2, this};
    Parameter<double> graphSmoothing{"graphSmoothing", 2.0, this};
    Parameter<double> prunePathsSensitivity{"prunePathsSensitivity", 1.0, this};
    Parameter<bool> removeCycles{"removeCycles", false, this};
    /// Not read by the computation.
    Parameter<bool> addLabelID{"addLabelID", false, this};

private:
    /// The steps after the mask was found non-empty; false with the reason logged on failure.
    bool extract(const SharedImage& mask);
    /// Runs one stage, recording its time and reporting it to the progress object.
    template <typename Fn>
    auto timed(const char* stage, Fn&& fn);

    SharedImageSet& m_input;
    std::unique_ptr<SharedImageSet> m_skeleton;
    std::unique_ptr<Graph> m_result;
    std::vector<StageTime> m_stageTimes;
};

} // namespace Tarnwick
