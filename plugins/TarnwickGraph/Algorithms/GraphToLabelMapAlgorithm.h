#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/ImageDescriptorWorld.h>

#include <Eigen/Core>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;
class GraphToLabelMapGpu;
class SharedImage;

/// Rasterises a vessel graph into a binary uint8 label map: a voxel becomes 1 when its centre lies
/// within the radius (half the "diameter" feature) of some edge, 0 otherwise.
///
/// Output grid: the reference geometry when one is given (its dimensions, spacing and placement; the
/// "spacing" parameter is then hidden and ignored); otherwise an axis-aligned grid of isotropic voxels of
/// size "spacing", centred on the graph's world bounding box, with ceil(extent / spacing) + 2 * ceil(max
/// radius) + 4 voxels per axis. Distances are measured in scaled units: voxels for isotropic grids, voxels
/// of the geometric-mean spacing weighted by a per-axis metric for anisotropic ones.
///
/// Shapes ("mode"): Centerline draws a capsule per edge (distance to the whole segment); Vessel draws a
/// cylinder from short axial slabs around samples along the edge, reaching up to 2.5 scaled units past
/// each end node.
///
/// Back ends: an OpenGL 4.3 compute shader (one invocation per edge; a context of its own is created when
/// none is current) and a CPU path over a thread pool (one task per z slab). Both produce the same image
/// voxel for voxel. The GPU path runs unless "forceCPU" is set or OpenGL 4.3 is not available (then an
/// info message names the CPU fallback).
///
/// Failures (error log, status InvalidInput, no output): "Graph has no nodes", "Graph does not have a
/// diameter feature.", a spacing that is not positive, a non-finite, negative or absurdly large diameter,
/// a node position that is not finite or lies 2^24 voxels or more from the grid, and a grid too large to
/// allocate. Warnings (the run goes on): "All graph edge diameters are zero." and "Smallest radius <r> is
/// smaller than one scaled unit, consider increasing the resolution.".
class GraphToLabelMapAlgorithm : public Algorithm {
public:
    enum Mode : int { Centerline = 0, Vessel = 1 };

    /// Log category of the class.
    static constexpr const char* logCategory = "Graph.GraphToLabelMapAlgorithm";

    /// What both back ends read: the arrays built from the graph and the output grid.
    struct Input {
        /// Per node in forEachNode order: x, y, z in graph coordinates; w = 1 for a node with fewer than
        /// two adjacency entries, else 0.
        std::vector<Eigen::Vector4f> points;
        /// Per edge in forEachEdge order: the indices of its end nodes in `points`.
        std::vector<std::array<int, 2>> edges;
        /// Per edge: half its diameter, in scaled units.
        std::vector<float> radii;
        int numEdges = 0;
        /// Output grid: uint8, one channel.
        ImageDescriptorWorld descriptor;
        /// Graph coordinates to pixel coordinates of the output (voxel centres at whole numbers).
        Eigen::Matrix4f graphToPixel = Eigen::Matrix4f::Identity();
        /// Per-axis weights of squared distances in voxel coordinates.
        Eigen::Vector3f metric = Eigen::Vector3f::Ones();
        /// Smallest output spacing (world units); sets the sample step of Vessel mode.
        float minSpacing = 1.0f;
        Mode mode = Centerline;
    };

    /// `reference`: the geometry of the output; without it the grid is derived from the graph.
    GraphToLabelMapAlgorithm(const Graph& graph, std::optional<ImageDescriptorWorld> reference);
    ~GraphToLabelMapAlgorithm() override;

    /// Compatible with exactly one Graph, alone or with exactly one non-empty image set, whose current
    /// image then gives the reference geometry.
    static bool createCompatible(const DataList& data, Algorithm** out);

    /// Validates, builds the arrays, chooses the back end and stores one label image as the output.
    void compute() override;

    /// The CPU back end: a thread pool with one task per slab of z slices; O(sum over edges of samples x
    /// box voxels). Returns the label image (uint8, spacing and placement of input.descriptor). Throws
    /// std::bad_alloc when the grid does not fit in memory.
    static std::unique_ptr<SharedImage> computeCPU(const Input& input);

    /// The GPU back end in the current OpenGL 4.3 context; null with `*error` set when it cannot run
    /// (GL build only; always null without GL).
    std::unique_ptr<SharedImage> computeGPU(const Input& input, std::string* error);

    Parameter<double> spacing{"spacing", 1.0, this};
    Parameter<Mode> mode{"mode", Centerline, this};
    Parameter<bool> forceCPU{"forceCPU", false, this};

private:
    /// Builds the arrays and the grid; false (error logged) for input the back ends cannot take.
    bool buildInput(Input& input) const;
    /// The reference geometry, or the grid around the graph's bounds; false (error logged) when too large.
    bool outputGrid(float largestRadius, ImageDescriptorWorld& grid) const;
    /// Whether OpenGL 4.3 is available, in the current context or an offscreen one of the GPU path (GL build only).
    bool gpuAvailable();

    const Graph& m_graph;
    std::optional<ImageDescriptorWorld> m_reference;
    /// The GPU path's context, programs and buffers; created on first use.
    std::unique_ptr<GraphToLabelMapGpu> m_gpu;
};

} // namespace Tarnwick
