// Centerline extraction by thinning: the mask is thresholded, resampled onto an isotropic grid no finer
// than its coarsest axis (so the smallest vessel of interest spans minPixelResolution voxels), closed,
// and thinned with the Lee-Kashyap-Chu medial-axis method. The skeleton voxels and their 26-adjacencies
// form the raw graph, which becomes a Graph placed in the input's image frame; components below
// minComponentSize are dropped, terminal paths shorter than sensitivity x local radius (from a chamfer
// distance map of the mask) are pruned, positions are smoothed by a heat-kernel pass and five
// neighbourhood-averaging passes, and cycles are optionally broken by a minimum spanning tree.
// Cost: O(input voxels + grid voxels) for the image stages, O(S log S) for the S skeleton voxels.
#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Progress.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickGraph/Algorithms/CenterlineResampling.h>
#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>
#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace Tarnwick {

namespace {

constexpr const char* logCategory = "Graph.CenterlineGraphExtractionAlgorithm";

/// Foreground voxels of one z slice with their foreground neighbours and step weights.
using SliceNodes = std::vector<std::pair<int, std::vector<std::pair<int, int>>>>;

template <typename T, typename IsForeground>
CenterlineGraphExtractionAlgorithm::RawGraph rawGraphOf(const TypedImage<T>& image, IsForeground isForeground,
                                                        bool parallel) {
    const Eigen::Vector3i dims = image.descriptor().dimensions;
    const long long sliceSize = static_cast<long long>(dims.x()) * dims.y();
    const T* values = image.pointer();
    std::vector<SliceNodes> slices(static_cast<std::size_t>(dims.z()));

#pragma omp parallel for schedule(dynamic, 4) if (parallel)
    for (int z = 0; z < dims.z(); ++z) {
        SliceNodes& nodes = slices[static_cast<std::size_t>(z)];
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x) {
                const long long index = z * sliceSize + static_cast<long long>(y) * dims.x() + x;
                if (!isForeground(values[index]))
                    continue;
                std::vector<std::pair<int, int>> neighbours;
                for (int dz = -1; dz <= 1; ++dz)
                    for (int dy = -1; dy <= 1; ++dy)
                        for (int dx = -1; dx <= 1; ++dx) {
                            const int nx = x + dx, ny = y + dy, nz = z + dz;
                            if ((dx == 0 && dy == 0 && dz == 0) || nx < 0 || ny < 0 || nz < 0 || nx >= dims.x() ||
                                ny >= dims.y() || nz >= dims.z())
                                continue;
                            const long long neighbour = nz * sliceSize + static_cast<long long>(ny) * dims.x() + nx;
                            if (isForeground(values[neighbour]))
                                neighbours.emplace_back(static_cast<int>(neighbour),
                                                        std::abs(dx) + std::abs(dy) + std::abs(dz));
                        }
                nodes.emplace_back(static_cast<int>(index), std::move(neighbours));
            }
    }

    // 26-adjacency is symmetric, so each voxel's own list already holds both directions of its links.
    // Slices, rows and neighbour offsets are visited in ascending index order: every insertion is at the end.
    CenterlineGraphExtractionAlgorithm::RawGraph raw;
    for (const SliceNodes& nodes : slices)
        for (const auto& [index, neighbours] : nodes)
            raw.emplace_hint(raw.end(), index, std::map<int, int>(neighbours.begin(), neighbours.end()));
    return raw;
}

} // namespace

CenterlineGraphExtractionAlgorithm::CenterlineGraphExtractionAlgorithm(SharedImageSet& input) : m_input(input) {
    mode.setAttribute("values", "Skeletonization");
    minVesselDiameter.setAttribute("min", "0.0");
    minVesselDiameter.setAttribute("tooltip", "Smallest vessel diameter (in mm) that should be accurately resolved.");
    minPixelResolution.setAttribute("hidden", "true");
    closeHolesSize.setAttribute("min", "1");
    closeHolesSize.setAttribute("tooltip", "Kernel size (in pixels) used for the morphological closing operation "
                                           "to fill small holes in a preprocessing step.");
    graphSmoothing.setAttribute("min", "0.0");
    prunePathsSensitivity.setAttribute("min", "0.0");
    prunePathsSensitivity.setAttribute("tooltip",
                                       "Higher sensitivity results in more aggressive removal of smaller paths.");
}

bool CenterlineGraphExtractionAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    if (data.size() != 1)
        return false;
    auto* images = dynamic_cast<SharedImageSet*>(data[0]);
    if (!images || images->size() != 1)
        return false;
    if (out)
        *out = new CenterlineGraphExtractionAlgorithm(*images);
    return true;
}

OwningDataList CenterlineGraphExtractionAlgorithm::takeOutput() {
    OwningDataList output;
    if (m_result)
        output.add(std::move(m_result));
    return output;
}

template <typename Fn>
auto CenterlineGraphExtractionAlgorithm::timed(const char* stage, Fn&& fn) {
    if (progress())
        progress()->start(stage);
    Timer timer;
    auto result = fn();
    m_stageTimes.push_back({stage, timer.elapsedSeconds()});
    if (progress())
        progress()->end();
    return result;
}

void CenterlineGraphExtractionAlgorithm::compute() {
    setStatus(Error);
    m_result.reset();
    m_skeleton.reset();
    m_stageTimes.clear();

    const SharedImage* input = m_input.get();
    if (!input) {
        TW_LOG_CAT_ERROR(logCategory, "Empty input image set provided.");
        return;
    }
    if (mode.value() != Skeletonization) {
        TW_LOG_CAT_ERROR(logCategory, "Not implemented.");
        return;
    }

    const std::shared_ptr<SharedImage> mask =
        timed("threshold", [&]() { return CenterlineResampling::binaryMask(*input); });
    if (!mask) {
        TW_LOG_CAT_ERROR(logCategory, "Could not threshold the input image.");
        return;
    }

    if (mask->mem()->maxValue() == 0.0) {
        TW_LOG_CAT_WARN(logCategory, "Input label image is empty.");
        m_result = std::make_unique<Graph>(Graph::Undirected, input->descriptor().is2D() ? Graph::Dim2D : Graph::Dim3D);
        m_result->setMatrixToWorld(input->matrixToWorld());
        return;
    }
    if (!extract(*mask))
        return;

    if (!GraphUtils::isAcyclic(*m_result))
        TW_LOG_CAT_WARN(logCategory, "Graph is not acyclic.");
    setStatus(Success);
}

bool CenterlineGraphExtractionAlgorithm::extract(const SharedImage& mask) {
    const double spacing = mask.descriptor().is2D() ? mask.descriptor().spacing.head<2>().maxCoeff()
                                                    : mask.descriptor().spacing.maxCoeff();
    const double target =
        CenterlineResampling::computeTargetSpacing(mask.descriptor(), minVesselDiameter, minPixelResolution);
    TW_LOG_CAT_INFO(logCategory, "Resampling from {} to {}", spacing, target);

    const CenterlineResampling::Options options{minVesselDiameter, minPixelResolution, closeHolesSize.value()};
    std::unique_ptr<SharedImageSet> resampled =
        timed("resample", [&]() { return CenterlineResampling::resampleLabelMap(mask, options); });
    if (!resampled) {
        TW_LOG_CAT_ERROR(logCategory, "Could not resample input");
        return false;
    }

    if (closeHolesSize.value()) {
        const bool closed = timed("close", [&]() {
            MorphologicalOperationsAlgorithm closing(*resampled);
            closing.mode = MorphologicalOperationsAlgorithm::Closing;
            closing.opSize = *closeHolesSize.value();
            closing.inPlace = true;
            closing.compute();
            return closing.status() == Success;
        });
        if (!closed)
            return false;
    }

    m_skeleton = timed("thin", [&]() {
        MorphologicalOperationsAlgorithm thinning(*resampled);
        thinning.mode = MorphologicalOperationsAlgorithm::Thinning;
        thinning.compute();
        return thinning.takeOutput().extractFirstImage();
    });
    if (!m_skeleton || m_skeleton->empty()) {
        TW_LOG_CAT_ERROR(logCategory, "Failed to compute skeleton.");
        return false;
    }

    const SharedImage& skeletonImage = *m_skeleton->get(0);
    const RawGraph raw = timed("raw graph", [&]() { return skeletonAsRawGraph(skeletonImage, true); });
    if (raw.empty()) {
        TW_LOG_CAT_ERROR(logCategory, "Failed to extract skeleton as graph.");
        return false;
    }

    m_result = timed("graph", [&]() {
        std::unique_ptr<Graph> graph = rawSkeletonGraphToGraph(raw, skeletonImage.descriptorWorld(), nullptr);
        // Carry positions from the resampled grid's image frame into the input image's frame.
        const Eigen::Matrix4d inputToWorld = m_input.get()->matrixToWorld();
        GraphUtils::transformNodePositions(*graph, inputToWorld.inverse() * skeletonImage.matrixToWorld());
        graph->setMatrixToWorld(inputToWorld);
        return graph;
    });

    const bool partitioned = timed("partition/combine", [&]() {
        PartitionGraphsAlgorithm partition(*m_result);
        partition.minComponentSize = minComponentSize.value();
        partition.compute();
        std::vector<std::unique_ptr<Data>> parts = partition.takeOutput().release();
        if (parts.empty())
            return false;
        if (parts.size() == 1) {
            m_result.reset(static_cast<Graph*>(parts.front().release()));
            return true;
        }
        std::vector<Graph*> graphs;
        for (const auto& part : parts)
            graphs.push_back(static_cast<Graph*>(part.get()));
        CombineGraphsAlgorithm combine(graphs);
        combine.compute();
        auto combined = combine.takeOutput().extractFirst<Graph>();
        if (!combined)
            return false;
        m_result = std::move(combined);
        return true;
    });
    if (!partitioned) {
        TW_LOG_CAT_ERROR(logCategory, "Partitioning failed.");
        return false;
    }

    std::unique_ptr<SharedImageSet> distance = timed("distance", [&]() -> std::unique_ptr<SharedImageSet> {
        std::unique_ptr<SharedImage> chamfer = DistanceTransform::computeChamfer(*resampled->get(0), true, true, false);
        if (!chamfer)
            return nullptr;
        return std::make_unique<SharedImageSet>(std::shared_ptr<SharedImage>(std::move(chamfer))); // mask's frame
    });
    if (!distance) {
        TW_LOG_CAT_ERROR(logCategory, "Failed to compute the distance map.");
        return false;
    }

    // Pruning and smoothing log their own reasons; the run goes on with the graph as they left it.
    timed("prune", [&]() {
        PruneTerminalPathsAlgorithm prune(*m_result, distance.get());
        prune.sensitivity = prunePathsSensitivity.value();
        prune.inPlace = true;
        prune.compute();
        return prune.status();
    });

    if (graphSmoothing.value() > 0.0)
        timed("smooth", [&]() {
            GraphSmoothingAlgorithm smoothing(*m_result, nullptr);
            smoothing.mode = GraphSmoothingAlgorithm::LaplacianHeatKernel;
            smoothing.smoothingStrength = graphSmoothing.value();
            smoothing.compute();
            smoothing.mode = GraphSmoothingAlgorithm::NeighborhoodWeightedAverage;
            for (int pass = 0; pass < 5; ++pass)
                smoothing.compute();
            return smoothing.status();
        });

    if (removeCycles.value()) {
        std::unique_ptr<Graph> tree = timed("remove cycles", [&]() {
            MinimumSpanningTreeAlgorithm spanning(*m_result, nullptr);
            spanning.weightMode = MinimumSpanningTreeAlgorithm::EdgeLength;
            spanning.pruneBySegment = true;
            spanning.compute();
            return spanning.takeOutput().extractFirst<Graph>();
        });
        if (tree)
            m_result = std::move(tree);
    }
    return true;
}

CenterlineGraphExtractionAlgorithm::RawGraph
CenterlineGraphExtractionAlgorithm::skeletonAsRawGraph(const SharedImage& skeleton, bool parallel) {
    const ImageDescriptor& descriptor = skeleton.descriptor();
    const double voxels =
        static_cast<double>(descriptor.dimensions.x()) * descriptor.dimensions.y() * descriptor.dimensions.z();
    if (descriptor.channels != 1 || voxels >= 2147483648.0)
        return {};
    return dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        // Floating-point skeletons count values above 0.5, integer ones any non-zero value.
        const auto isForeground = [](T value) {
            if constexpr (std::is_floating_point_v<T>)
                return value > T(0.5);
            else
                return value != T(0);
        };
        return rawGraphOf(*skeleton.typed<T>(), isForeground, parallel);
    });
}

std::unique_ptr<Graph> CenterlineGraphExtractionAlgorithm::rawSkeletonGraphToGraph(const RawGraph& raw,
                                                                                   const ImageDescriptorWorld& frame,
                                                                                   const SharedImage* potential) {
    const ImageDescriptor& descriptor = frame.descriptor;
    auto graph = std::make_unique<Graph>(Graph::Undirected, descriptor.is2D() ? Graph::Dim2D : Graph::Dim3D);
    graph->setMatrixToWorld(frame.matrixToWorld);

    const SharedImage* floatPotential = nullptr;
    if (potential) {
        if (potential->descriptor().pixelType == PixelType::Float)
            floatPotential = potential;
        else
            TW_LOG_CAT_ERROR(logCategory, "Expected potential image to be of type float");
    }

    const Eigen::Matrix4d pixelToImage = descriptor.pixelToImageMatrix();
    const long long dimX = descriptor.dimensions.x(), dimY = descriptor.dimensions.y();
    std::map<int, unsigned long> nodeOf;
    for (const auto& [index, neighbours] : raw) {
        Eigen::Vector3d pixel(static_cast<double>(index % dimX), static_cast<double>((index / dimX) % dimY),
                              static_cast<double>(index / (dimX * dimY)));
        if (floatPotential)
            pixel = adjustNode(pixel, *floatPotential);
        Graph::NodeInfo node;
        node.position = pixelToImage.topLeftCorner<3, 3>() * pixel + pixelToImage.topRightCorner<3, 1>();
        nodeOf.emplace(index, graph->addNode(std::move(node)));
    }
    for (const auto& [index, neighbours] : raw)
        for (const auto& [neighbour, weight] : neighbours)
            if (index < neighbour)
                graph->addEdge(nodeOf.at(index), nodeOf.at(neighbour), Graph::EdgeInfo{});
    return graph;
}

Eigen::Vector3d CenterlineGraphExtractionAlgorithm::adjustNode(const Eigen::Vector3d& pixel,
                                                               const SharedImage& potential) {
    const TypedImage<float>* values = potential.typed<float>();
    if (!values)
        return pixel;
    const Eigen::Vector3i dims = potential.descriptor().dimensions;
    const Eigen::Vector3i voxel = pixel.array().round().cast<int>();
    if ((voxel.array() < 0).any() || (voxel.array() >= dims.array()).any())
        return pixel;
    Eigen::Vector3d gradient = Eigen::Vector3d::Zero();
    for (int axis = 0; axis < 3; ++axis) {
        if (dims[axis] < 3)
            continue;
        Eigen::Vector3i low = voxel, high = voxel;
        low[axis] = std::max(0, voxel[axis] - 1);
        high[axis] = std::min(dims[axis] - 1, voxel[axis] + 1);
        gradient[axis] = (values->value(high.x(), high.y(), high.z()) - values->value(low.x(), low.y(), low.z())) /
                         std::max(1, high[axis] - low[axis]);
    }
    const double largest = gradient.cwiseAbs().maxCoeff();
    if (!(largest > 0.0))
        return pixel;
    return pixel + gradient * (0.5 / largest);
}

} // namespace Tarnwick
