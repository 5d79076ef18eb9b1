// The main job as one algorithm: input check and binary mask, centerline extraction, junction clean-up,
// lengths, diameters measured in the mask, output frame and summary. Cost: one pass over the input for
// the mask, then the extraction's (resampling, closing and thinning of the working grid dominate).
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Progress.h>
#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/Pipelines/CavityFilling.h>
#include <TarnwickGraph/Pipelines/CenterlineCleanup.h>
#include <TarnwickGraph/Pipelines/JunctionClusters.h>
#include <TarnwickGraph/Pipelines/LostBranchRecovery.h>
#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>
#include <TarnwickGraph/Pipelines/VesselMask.h>
#include <TarnwickGraph/Pipelines/WorkingGrid.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

constexpr const char* logCategory = "Graph.VesselGraphExtractionAlgorithm";
constexpr const char* extractionCategory = "Graph.CenterlineGraphExtractionAlgorithm";
/// The extraction's default minPixelResolution: it never works finer than minVesselDiameter / 6.
constexpr double extractionVoxelsPerVessel = 6.0;

/// Admits only errors of one log category while it lives, then restores the category's level as it was
/// in effect before.
class ErrorsOnly {
public:
    explicit ErrorsOnly(const char* category) : m_category(category) {
        while (m_level < Log::Fatal && !Log::isAccepted(m_level, category))
            ++m_level;
        Log::setCategoryLevel(category, std::max<int>(m_level, Log::Error));
    }
    ~ErrorsOnly() { Log::setCategoryLevel(m_category, m_level); }
    ErrorsOnly(const ErrorsOnly&) = delete;
    ErrorsOnly& operator=(const ErrorsOnly&) = delete;

private:
    const char* m_category;
    int m_level = Log::Trace;
};

/// Runs fn as one task of progress (when there is one); returns what fn returns.
template <typename Fn>
auto asTask(Progress* progress, const char* task, Fn&& fn) {
    if (progress)
        progress->start(task);
    auto result = fn();
    if (progress)
        progress->end();
    return result;
}

} // namespace

VesselGraphExtractionAlgorithm::VesselGraphExtractionAlgorithm(SharedImageSet& input) : m_input(input) {
    minVesselDiameter.setAttribute("min", "0.0");
    minVesselDiameter.setAttribute("tooltip", "Smallest vessel diameter (in mm) that should be accurately resolved.");
    graphSmoothing.setAttribute("min", "0.0");
    pruneSensitivity.setAttribute("min", "0.0");
    pruneSensitivity.setAttribute("tooltip", "Side branches shorter than this times the local radius are removed.");
    closeHoles.setAttribute("min", "0");
    closeHoles.setAttribute("max", "32");
    closeHoles.setAttribute("tooltip", "Closing radius in voxels before thinning; 0 disables it.");
    fillHoles.setAttribute("tooltip", "Fill cavities enclosed by the vessel mask before thinning.");
    threshold.setAttribute("tooltip", "Values above it are vessel; unset: every non-zero value.");
    invert.setAttribute("tooltip", "Vessel is where the threshold or label rule does not hold.");
    label.setAttribute("tooltip", "Only voxels of this value are vessel.");
    keepSkeleton.setAttribute("tooltip", "Also output the thinned working mask as an image named skeleton.");
    mergeJunctions.setAttribute("tooltip", "Merge each cluster of adjacent junction nodes into one node.");
    coordinates.setAttribute("values", "Image,LPS,RAS");
    workingSpacing.setAttribute("tooltip", "Spacing (mm) of the grid thick axes are upsampled to; unset: the finest "
                                           "input spacing.");
    for (ParameterBase* result : std::initializer_list<ParameterBase*>{
             &summaryNodes, &summaryEdges, &summaryBranchPoints, &summaryEndpoints, &summaryComponents, &summaryCycles,
             &summaryTotalLength, &summaryMinDiameter, &summaryMaxDiameter})
        result->setAttribute("hidden", "true");
}

bool VesselGraphExtractionAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    if (data.size() != 1)
        return false;
    auto* images = dynamic_cast<SharedImageSet*>(data[0]);
    if (!images || images->size() != 1)
        return false;
    if (out)
        *out = new VesselGraphExtractionAlgorithm(*images);
    return true;
}

OwningDataList VesselGraphExtractionAlgorithm::takeOutput() {
    OwningDataList output;
    if (m_result)
        output.add(std::move(m_result));
    if (m_skeleton)
        output.add(std::move(m_skeleton));
    return output;
}

void VesselGraphExtractionAlgorithm::compute() {
    setStatus(Error);
    m_result.reset();
    m_skeleton.reset();
    m_summary = GraphSummary();
    const SharedImage* image = m_input.get();
    if (!image) {
        TW_LOG_CAT_ERROR(logCategory, "Empty input image set provided.");
        setStatus(IncompleteInput);
        return;
    }
    if (workingSpacing.value() && !(*workingSpacing.value() > 0.0)) {
        TW_LOG_CAT_ERROR(logCategory, "workingSpacing must be a positive number of millimetres");
        setStatus(InvalidInput);
        return;
    }
    if (closeHoles < 0) {
        TW_LOG_CAT_ERROR(logCategory, "closeHoles must be 0 (no closing) or a positive radius in voxels");
        setStatus(InvalidInput);
        return;
    }
    const VesselMaskRule rule{threshold.value(), invert.value(), label.value()};
    VesselMask mask = asTask(progress(), "mask", [&] { return makeVesselMask(*image, rule); });
    if (!mask.mask) {
        TW_LOG_CAT_ERROR(logCategory, "{}", mask.error);
        setStatus(InvalidInput);
        return;
    }
    if (mask.foregroundVoxels == 0) {
        TW_LOG_CAT_ERROR(logCategory, "The vessel mask is empty: no voxel is vessel under the chosen rule");
        setStatus(InvalidInput);
        return;
    }
    std::shared_ptr<SharedImage> working(std::move(mask.mask));
    const ImageDescriptor& input = working->descriptor();
    const double finest = input.dimensions.z() == 1 ? input.spacing.head<2>().minCoeff() : input.spacing.minCoeff();
    const double spacing =
        workingSpacing.value().value_or(std::max(finest, minVesselDiameter / extractionVoxelsPerVessel));
    const WorkingGrid grid = chooseWorkingGrid(input, spacing);
    if (!grid.error.empty()) {
        TW_LOG_CAT_ERROR(logCategory, "{}", grid.error);
        setStatus(InvalidInput);
        return;
    }
    if (grid.upsampled) {
        TW_LOG_CAT_INFO(logCategory, "Working grid {} x {} x {} voxels of {:.3g} x {:.3g} x {:.3g} mm",
                        grid.dimensions.x(), grid.dimensions.y(), grid.dimensions.z(), grid.spacing.x(),
                        grid.spacing.y(), grid.spacing.z());
        working =
            asTask(progress(), "upsample", [&] { return std::shared_ptr<SharedImage>(upsampleMask(*working, grid)); });
    }
    if (fillHoles)
        asTask(progress(), "fill holes", [&] { return fillEnclosedCavities(*working); });
    if (!extract(working))
        return;
    m_summary = summarizeGraph(*m_result);
    publishSummary();
    setStatus(Success);
}

bool VesselGraphExtractionAlgorithm::extract(const std::shared_ptr<SharedImage>& mask) {
    SharedImageSet maskSet(mask);
    CenterlineGraphExtractionAlgorithm extraction(maskSet);
    extraction.minVesselDiameter = minVesselDiameter.value();
    extraction.graphSmoothing = graphSmoothing.value();
    extraction.prunePathsSensitivity = pruneSensitivity.value();
    extraction.removeCycles = removeCycles.value();
    extraction.closeHolesSize = closeHoles > 0 ? std::optional<int>(closeHoles) : std::nullopt;
    extraction.setProgress(progress());
    {
        // Its cycle warning counts the small triangles at junctions; the summary reports the cycles.
        const ErrorsOnly quiet(extractionCategory);
        extraction.compute();
    }
    extraction.setProgress(nullptr);
    if (keepSkeleton && extraction.skeleton() && extraction.skeleton()->size() == 1)
        m_skeleton = std::make_unique<SharedImageSet>(extraction.skeleton()->getShared(0), "skeleton");
    OwningDataList output = extraction.takeOutput();
    std::vector<std::unique_ptr<Data>> items = output.release();
    if (extraction.status() != Success || items.empty() || !dynamic_cast<Graph*>(items.front().get())) {
        TW_LOG_CAT_ERROR(logCategory, "Centerline extraction failed");
        return false;
    }
    m_result.reset(static_cast<Graph*>(items.front().release()));
    Graph& graph = *m_result;

    if (mergeJunctions)
        asTask(progress(), "junctions", [&] { return JunctionClusters::mergeInto(graph); });
    asTask(progress(), "lost branches", [&] { return recoverLostBranches(graph, *mask); });
    if (!asTask(progress(), "diameters", [&] { return measureVesselDiameters(graph, *mask); })) {
        m_result.reset();
        return false;
    }
    asTask(progress(), "ends and bumps", [&] {
        CenterlineCleanup::extendTerminalBranches(graph, *mask);
        // Both read segments between merged junctions. A loop broken off its stem leaves the stem as a spur.
        if (mergeJunctions) {
            CenterlineCleanup::breakShortCycles(graph);
            CenterlineCleanup::pruneSurfaceBumps(graph, pruneSensitivity);
        }
        return 0;
    });
    ComputeCommonGraphFeaturesAlgorithm lengths(graph, nullptr);
    lengths.mode = ComputeCommonGraphFeaturesAlgorithm::EdgeLength;
    asTask(progress(), "length", [&] {
        lengths.compute();
        return 0;
    });
    if (lengths.status() != Success) {
        TW_LOG_CAT_ERROR(logCategory, "Measuring the edge lengths failed");
        m_result.reset();
        return false;
    }
    if (coordinates != Image) {
        const Eigen::Matrix4d mirror = Eigen::Vector4d(-1, -1, 1, 1).asDiagonal();
        const Eigen::Matrix4d toWorld = graph.matrixToWorld();
        const bool ras = coordinates == RAS;
        GraphUtils::transformNodePositions(graph, ras ? Eigen::Matrix4d(mirror * toWorld) : toWorld);
        // The mirror is its own inverse: matrixToWorld maps RAS positions back to LPS world.
        graph.setMatrixToWorld(ras ? mirror : Eigen::Matrix4d::Identity());
    }
    return true;
}

void VesselGraphExtractionAlgorithm::publishSummary() {
    summaryNodes = static_cast<int>(m_summary.nodes);
    summaryEdges = static_cast<int>(m_summary.edges);
    summaryBranchPoints = static_cast<int>(m_summary.branchPoints);
    summaryEndpoints = static_cast<int>(m_summary.endpoints);
    summaryComponents = static_cast<int>(m_summary.components);
    summaryCycles = static_cast<int>(m_summary.cycles);
    summaryTotalLength = m_summary.totalLength;
    summaryMinDiameter = m_summary.minDiameter;
    summaryMaxDiameter = m_summary.maxDiameter;
}

} // namespace Tarnwick
