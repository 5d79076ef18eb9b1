#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/GraphSummary.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <memory>
#include <optional>

namespace Tarnwick {

class SharedImage;
class SharedImageSet;

/// The main job: a vessel mask in, the measured centerline graph out. Registered as
/// "VesselGraphExtraction" ("Pipelines;Vessel Graph Extraction") in the plug-in's second factory, so
/// that the command line, the desktop application and the Python package run the same steps:
///
///  1. input check and binary mask (VesselMask: the default rule refuses images that do not look like a
///     mask; `threshold`, `invert` and `label` choose the vessel voxels explicitly);
///  2. the working grid (WorkingGrid): axes thicker than `workingSpacing` (unset: the finest input spacing,
///     but not below the extraction's own finest, minVesselDiameter / 6) are upsampled shape-based;
///  3. with `fillHoles`, the enclosed cavities of the working mask are filled (fillEnclosedCavities);
///     CenterlineGraphExtractionAlgorithm on the working mask with `minVesselDiameter`, `graphSmoothing`,
///     `pruneSensitivity`, `removeCycles` and `closeHoles` (0 disables the closing);
///  4. with `mergeJunctions` (the default), each junction cluster becomes one node (JunctionClusters), so
///     that the graph's own degrees and cycles are what the summary reports; branches the thinning's
///     visiting order erased are recovered from a thinning of the axis-reversed mask (recoverLostBranches);
///  5. edge feature "diameter" (measureVesselDiameters, in the working mask, so every pixel type is
///     measured); ends carried out to the vessels' rounded ends (CenterlineCleanup); with `mergeJunctions`,
///     terminal branches reaching less than `pruneSensitivity` times their radius beyond their parent's
///     surface (surface bumps) removed and cycles shorter than their thickest vessel's circumference
///     (tunnels in a vessel wall) broken; then edge feature "length" (ComputeCommonGraphFeaturesAlgorithm);
///  6. positions in `coordinates`: Image keeps the image coordinates with the input's matrixToWorld;
///     LPS writes world positions with an identity matrix; RAS writes RAS positions with the LPS-to-RAS
///     mirror as matrixToWorld, so the world placement stays right and files can name the frame;
///  7. the summary (GraphSummary), also published in the hidden parameters `summary...` so that hosts
///     that only see parameters can present it.
///
/// Each step is a task of the host Progress given with setProgress(). Status: Success; InvalidInput with
/// the reason logged when the input is refused or the mask is empty; Error when a step fails. The
/// extraction's own cycle warning is not logged: the summary counts the cycles.
class VesselGraphExtractionAlgorithm : public Algorithm {
public:
    enum Coordinates : int { Image = 0, LPS = 1, RAS = 2 };

    /// input is borrowed.
    explicit VesselGraphExtractionAlgorithm(SharedImageSet& input);

    /// Compatible with exactly one image set holding exactly one image.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;
    OwningDataList takeOutput() override;

    /// The graph of the last run, or null before a run and after takeOutput().
    const Graph* result() const { return m_result.get(); }
    /// The summary of the last successful run.
    const GraphSummary& summary() const { return m_summary; }

    /// Millimetres; coarsens the working grid so that this diameter spans 6 voxels.
    Parameter<double> minVesselDiameter{"minVesselDiameter", 1.0, this};
    /// Strength of the position smoothing; 0 disables it. Lighter than the extraction's own default
    /// (2.0), which pulls centerlines off the vessel axes near junctions and along loops.
    Parameter<double> graphSmoothing{"graphSmoothing", 0.5, this};
    /// Side branches shorter than this times the local radius are removed, and terminal branches that
    /// reach less than this times their own radius beyond their parent vessel's surface.
    Parameter<double> pruneSensitivity{"pruneSensitivity", 1.0, this};
    Parameter<bool> removeCycles{"removeCycles", false, this};
    /// Closing radius in voxels before thinning; 0 (the default) disables it. A closing joins vessels that
    /// run closer than twice its radius, so holes are filled by fillHoles instead.
    Parameter<int> closeHoles{"closeHoles", 0, this};
    /// Fill the enclosed cavities of the working mask (background not connected to the volume border)
    /// before thinning: never joins separate vessels.
    Parameter<bool> fillHoles{"fillHoles", true, this};
    /// Values above it are vessel; unset: non-zero (above 0.5), with the input checks of VesselMask.
    Parameter<std::optional<double>> threshold{"threshold", std::nullopt, this};
    Parameter<bool> invert{"invert", false, this};
    /// Only this value is vessel.
    Parameter<std::optional<int>> label{"label", std::nullopt, this};
    /// Merge each junction cluster into one node; false keeps the skeleton's raw junctions.
    Parameter<bool> mergeJunctions{"mergeJunctions", true, this};
    Parameter<Coordinates> coordinates{"coordinates", Image, this};
    /// Millimetres; unset: the finest input spacing (not below minVesselDiameter / 6).
    Parameter<std::optional<double>> workingSpacing{"workingSpacing", std::nullopt, this};

    /// Also hand out the skeleton the extraction thinned (on its working grid, with its world placement)
    /// as a second output: an image set named "skeleton".
    Parameter<bool> keepSkeleton{"keepSkeleton", false, this};

    /// Results of the last run (hidden; written by compute()).
    Parameter<int> summaryNodes{"summaryNodes", 0, this};
    Parameter<int> summaryEdges{"summaryEdges", 0, this};
    Parameter<int> summaryBranchPoints{"summaryBranchPoints", 0, this};
    Parameter<int> summaryEndpoints{"summaryEndpoints", 0, this};
    Parameter<int> summaryComponents{"summaryComponents", 0, this};
    Parameter<int> summaryCycles{"summaryCycles", 0, this};
    Parameter<double> summaryTotalLength{"summaryTotalLength", 0.0, this};
    Parameter<double> summaryMinDiameter{"summaryMinDiameter", 0.0, this};
    Parameter<double> summaryMaxDiameter{"summaryMaxDiameter", 0.0, this};

private:
    /// Steps 3 to 6 on the working mask; false with the reason logged.
    bool extract(const std::shared_ptr<SharedImage>& mask);
    void publishSummary();

    SharedImageSet& m_input;
    std::unique_ptr<Graph> m_result;
    std::unique_ptr<SharedImageSet> m_skeleton;
    GraphSummary m_summary;
};

} // namespace Tarnwick
