// Graph to label map: every edge becomes a primitive (a capsule, or a cylinder of axial slabs) in the
// voxel coordinates of the output grid, with metric-weighted distances for anisotropic spacing. Each
// primitive is visited through samples along the edge; only the voxels in a box of half-size
// ceil((r + 1) / sqrt(m)) around each sample are tested, and each voxel keeps the smallest class (inside
// the radius, in the one-unit shell, outside) over all primitives; the inside class becomes 1 in the
// output. Cost: O(sum over edges of samples x box voxels), independent of the grid size apart from
// clearing and converting it. The CPU path splits the grid into one slab of z slices per thread, so
// tasks never write the same voxel; the GPU path runs one shader invocation per edge with an atomic
// minimum per voxel (Rendering/GraphToLabelMapGpu).

#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Threading/ThreadPool.h>
#include <TarnwickGraph/Algorithms/LabelMapPrimitive.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <future>
#include <new>
#include <sstream>
#include <thread>
#include <unordered_map>

#if TARNWICK_WITH_GL
#include <TarnwickGraph/Rendering/GraphToLabelMapGpu.h>
#else
namespace Tarnwick {
/// Without OpenGL the GPU back end does not exist; the algorithm only holds an empty pointer to it.
class GraphToLabelMapGpu {};
} // namespace Tarnwick
#endif

namespace Tarnwick {

namespace {

/// Voxel coordinates and radii beyond this (2^24) lose whole voxels in float.
constexpr float maxVoxelCoordinate = 16777216.0f;

/// Grid geometry from the output spacing: isotropic grids measure in voxels; anisotropic ones in voxels
/// of the geometric-mean spacing g, with squared distances weighted per axis by (s_i / g)^2.
struct Metric {
    Eigen::Vector3f weights = Eigen::Vector3f::Ones();
    float scale = 1.0f;
    float minSpacing = 1.0f;
};

Metric metricOf(const Eigen::Vector3d& spacing) {
    Metric metric;
    metric.minSpacing = static_cast<float>(spacing.minCoeff());
    if (spacing.x() == spacing.y() && spacing.y() == spacing.z()) {
        metric.scale = static_cast<float>(1.0 / spacing.x());
        return metric;
    }
    const double g = std::cbrt(spacing.prod());
    for (int i = 0; i < 3; ++i)
        metric.weights[i] = static_cast<float>((spacing[i] / g) * (spacing[i] / g));
    metric.scale = static_cast<float>(1.0 / g);
    return metric;
}

std::string formatRadius(float radius) {
    std::ostringstream text;
    text.precision(3);
    text << radius;
    return text.str();
}

} // namespace

GraphToLabelMapAlgorithm::GraphToLabelMapAlgorithm(const Graph& graph, std::optional<ImageDescriptorWorld> reference)
    : m_graph(graph), m_reference(std::move(reference)) {
    mode.setAttribute("values", "Centerline, Vessel");
    if (m_reference)
        spacing.setAttribute("hidden", "true");
}

GraphToLabelMapAlgorithm::~GraphToLabelMapAlgorithm() = default;

bool GraphToLabelMapAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    const auto images = data.getImages(Data::Image, Data::NA);
    if (graphs.size() != 1 || data.size() != 1 + images.size() || images.size() > 1)
        return false;
    std::optional<ImageDescriptorWorld> reference;
    if (!images.empty()) {
        const SharedImage* image = images.front()->get(-1);
        if (!image)
            return false;
        reference = image->descriptorWorld();
    }
    if (out)
        *out = new GraphToLabelMapAlgorithm(*graphs.front(), reference);
    return true;
}

bool GraphToLabelMapAlgorithm::buildInput(Input& input) const {
    if (m_graph.numNodes() == 0) {
        TW_LOG_ERROR("Graph has no nodes");
        return false;
    }
    const std::optional<int> diameterIndex = m_graph.getEdgeFeatureIdx("diameter");
    if (!diameterIndex) {
        TW_LOG_ERROR("Graph does not have a diameter feature.");
        return false;
    }
    const double isotropicSpacing = spacing;
    if (!m_reference && !(std::isfinite(isotropicSpacing) && isotropicSpacing > 0.0)) {
        TW_LOG_ERROR("The spacing must be positive and finite, not {}.", isotropicSpacing);
        return false;
    }
    const Eigen::Vector3d outputSpacing =
        m_reference ? m_reference->descriptor.spacing : Eigen::Vector3d::Constant(isotropicSpacing);
    const Metric metric = metricOf(outputSpacing);

    std::unordered_map<unsigned long, int> indexOf;
    indexOf.reserve(m_graph.numNodes());
    input.points.reserve(m_graph.numNodes());
    m_graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node, const Graph::Neighborhood& neighbors) {
        indexOf.emplace(id, static_cast<int>(input.points.size()));
        const Eigen::Vector3f p = node.position.cast<float>();
        input.points.emplace_back(p.x(), p.y(), p.z(), neighbors.size() < 2 ? 1.0f : 0.0f);
    });
    input.edges.reserve(m_graph.numEdges());
    input.radii.reserve(m_graph.numEdges());
    bool radiiValid = true;
    m_graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        const double diameter = edge.features[static_cast<std::size_t>(*diameterIndex)];
        const float radius = static_cast<float>(0.5 * diameter) * metric.scale;
        radiiValid = radiiValid && diameter >= 0.0 && radius < maxVoxelCoordinate;
        input.edges.push_back({indexOf.at(from), indexOf.at(to)});
        input.radii.push_back(radius);
    });
    if (!radiiValid) {
        TW_LOG_ERROR("Edge diameters must be finite, not negative and below 2^24 voxels.");
        return false;
    }
    input.numEdges = static_cast<int>(input.edges.size());

    if (std::none_of(input.radii.begin(), input.radii.end(), [](float r) { return r != 0.0f; }))
        TW_LOG_CAT_WARN(logCategory, "All graph edge diameters are zero.");
    const auto [smallest, largest] = std::minmax_element(input.radii.begin(), input.radii.end());
    if (smallest != input.radii.end() && *smallest < 1.0f)
        TW_LOG_CAT_WARN(logCategory,
                        "Smallest radius {} is smaller than one scaled unit, consider increasing the "
                        "resolution.",
                        formatRadius(*smallest));

    if (!outputGrid(largest != input.radii.end() ? *largest : 0.0f, input.descriptor))
        return false;
    input.graphToPixel = (input.descriptor.worldToPixelMatrix() * m_graph.matrixToWorld()).cast<float>();
    for (const Eigen::Vector4f& point : input.points) {
        const Eigen::Vector3f voxel = LabelMapPrimitive::toVoxel(input.graphToPixel, point);
        if (!voxel.allFinite() || voxel.cwiseAbs().maxCoeff() >= maxVoxelCoordinate) {
            TW_LOG_ERROR("Node positions must be finite and lie within 2^24 voxels of the label map.");
            return false;
        }
    }
    input.metric = metric.weights;
    input.minSpacing = metric.minSpacing;
    input.mode = mode;
    return true;
}

bool GraphToLabelMapAlgorithm::outputGrid(float largestRadius, ImageDescriptorWorld& grid) const {
    if (m_reference) {
        grid = *m_reference;
        grid.descriptor.pixelType = PixelType::UInt8;
        grid.descriptor.channels = 1;
    } else {
        const double spacingMm = spacing;
        const Geometry::AlignedBox bounds = m_graph.bounds();
        const double margin = 2.0 * std::ceil(largestRadius) + 4.0;
        Eigen::Vector3d dims;
        for (int i = 0; i < 3; ++i)
            dims[i] = std::ceil(bounds.extent()[i] / spacingMm) + margin;
        if (!dims.allFinite() || dims.maxCoeff() > ImageOps::kMaxAxisLength ||
            dims.prod() > static_cast<double>(ImageOps::kMaxValueCount)) {
            TW_LOG_ERROR("A label map of {:.0f} x {:.0f} x {:.0f} voxels is too large; increase the spacing.", dims.x(),
                         dims.y(), dims.z());
            return false;
        }
        Eigen::Matrix4d matrixToWorld = Eigen::Matrix4d::Identity();
        matrixToWorld.topRightCorner<3, 1>() = bounds.center();
        grid = ImageDescriptorWorld(
            ImageDescriptor(PixelType::UInt8, dims.cast<int>(), 1, Eigen::Vector3d::Constant(spacingMm)),
            matrixToWorld);
    }
    const Eigen::Vector3i& dims = grid.descriptor.dimensions;
    if (ImageOps::voxelCount(dims) > ImageOps::kMaxValueCount) {
        TW_LOG_ERROR("A label map of {} x {} x {} voxels is too large.", dims.x(), dims.y(), dims.z());
        return false;
    }
    return true;
}

void GraphToLabelMapAlgorithm::compute() {
    m_output.clear();
    Input input;
    if (!buildInput(input)) {
        setStatus(InvalidInput);
        return;
    }
    std::unique_ptr<SharedImage> image;
    if (!forceCPU) {
        if (gpuAvailable()) {
            std::string error;
            image = computeGPU(input, &error);
            if (!image)
                TW_LOG_CAT_WARN(logCategory, "The GPU path failed ({}); using the CPU path.", error);
        } else {
            TW_LOG_CAT_INFO(logCategory, "OpenGL 4.3 not available, using CPU fallback");
        }
    }
    if (!image) {
        try {
            image = computeCPU(input);
        } catch (const std::bad_alloc&) {
            const Eigen::Vector3i& dims = input.descriptor.descriptor.dimensions;
            TW_LOG_ERROR("Not enough memory for a label map of {} x {} x {} voxels.", dims.x(), dims.y(), dims.z());
            setStatus(Error);
            return;
        }
    }
    auto images =
        std::make_unique<SharedImageSet>(std::shared_ptr<SharedImage>(std::move(image)), m_graph.name() + " Label Map");
    images->setModality(Data::Label);
    m_output.add(std::move(images));
    setStatus(Success);
}

std::unique_ptr<SharedImage> GraphToLabelMapAlgorithm::computeCPU(const Input& input) {
    const ImageDescriptor& descriptor = input.descriptor.descriptor;
    const Eigen::Vector3i dims = descriptor.dimensions;
    std::vector<unsigned> classes(ImageOps::voxelCount(dims), LabelMapPrimitive::Outside);
    auto labels =
        TypedImage<std::uint8_t>::uninitialized(ImageDescriptor(PixelType::UInt8, dims, 1, descriptor.spacing));

    std::vector<LabelMapPrimitive> primitives;
    primitives.reserve(static_cast<std::size_t>(input.numEdges));
    for (int e = 0; e < input.numEdges; ++e) {
        const auto& edge = input.edges[static_cast<std::size_t>(e)];
        const Eigen::Vector3f p0 = LabelMapPrimitive::toVoxel(input.graphToPixel, input.points[edge[0]]);
        const Eigen::Vector3f p1 = LabelMapPrimitive::toVoxel(input.graphToPixel, input.points[edge[1]]);
        if (auto primitive = LabelMapPrimitive::make(p0, p1, input.radii[static_cast<std::size_t>(e)], input.metric,
                                                     input.minSpacing, input.mode == Vessel))
            primitives.push_back(*primitive);
    }

    // One task per thread, each owning a slab of whole z slices: no two tasks write the same entry.
    Threading::ThreadPool pool(std::max(1u, std::thread::hardware_concurrency()));
    const int threads = static_cast<int>(pool.numThreads());
    const int chunk = std::max(1, (dims.z() + threads - 1) / threads);
    const std::size_t slice = static_cast<std::size_t>(dims.x()) * static_cast<std::size_t>(dims.y());
    std::vector<std::future<void>> tasks;
    tasks.reserve(static_cast<std::size_t>(threads));
    for (int k = 0; k < threads; ++k) {
        tasks.push_back(pool.enqueue([&, k] {
            const int z0 = k * chunk;
            if (z0 >= dims.z())
                return;
            const int z1 = std::min(z0 + chunk, dims.z());
            LabelMapPrimitive::rasterize(primitives, dims, z0, z1, classes.data());
            std::uint8_t* out = labels->pointer();
            for (std::size_t i = static_cast<std::size_t>(z0) * slice; i < static_cast<std::size_t>(z1) * slice; ++i)
                out[i] = classes[i] == LabelMapPrimitive::Inside ? 1 : 0;
        }));
    }
    pool.waitUntilFinished();
    for (std::future<void>& task : tasks)
        task.get();
    return std::make_unique<SharedImage>(std::shared_ptr<MemImage>(std::move(labels)), input.descriptor.matrixToWorld);
}

#if TARNWICK_WITH_GL

bool GraphToLabelMapAlgorithm::gpuAvailable() {
    if (!m_gpu)
        m_gpu = std::make_unique<GraphToLabelMapGpu>();
    return m_gpu->available();
}

std::unique_ptr<SharedImage> GraphToLabelMapAlgorithm::computeGPU(const Input& input, std::string* error) {
    if (!m_gpu)
        m_gpu = std::make_unique<GraphToLabelMapGpu>();
    return m_gpu->compute(input, error);
}

#else

bool GraphToLabelMapAlgorithm::gpuAvailable() {
    return false;
}

std::unique_ptr<SharedImage> GraphToLabelMapAlgorithm::computeGPU(const Input&, std::string* error) {
    *error = "built without OpenGL";
    return nullptr;
}

#endif

} // namespace Tarnwick
