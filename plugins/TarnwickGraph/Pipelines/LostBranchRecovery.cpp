// Branches lost to the thinning's visiting order, recovered from a thinning of the axis-reversed mask:
// its skeleton voxels outside the region the graph already covers form the missing pieces.
#include <TarnwickGraph/Pipelines/LostBranchRecovery.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/CellMask.h>
#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/ImageOps/Thinning.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

/// Distance (voxels) from p to the mask's surface along the six axis directions, the shortest of them.
double innerRadius(const CellMask& cells, const Eigen::Vector3d& pixel, bool planar) {
    double shortest = std::numeric_limits<double>::infinity();
    for (int axis = 0; axis < (planar ? 2 : 3); ++axis)
        for (const double sign : {-1.0, 1.0}) {
            double t = 0.25;
            while (t < shortest && cells.inside(pixel + sign * t * Eigen::Vector3d::Unit(axis)))
                t += 0.25;
            shortest = std::min(shortest, t);
        }
    return shortest;
}

} // namespace

std::size_t recoverLostBranches(Graph& graph, const SharedImage& mask) {
    const ImageDescriptor& descriptor = mask.descriptor();
    if (descriptor.pixelType != PixelType::UInt8 || descriptor.channels != 1 || graph.numNodes() == 0)
        return 0;
    const Eigen::Vector3i dims = descriptor.dimensions;
    const bool planar = dims.z() == 1;
    const std::int64_t nx = dims.x(), ny = dims.y();
    const auto* values = static_cast<const std::uint8_t*>(mask.mem()->data());

    // The foreground's bounding box with a voxel of margin: only it is thinned again.
    Eigen::Vector3i low = dims, high = Eigen::Vector3i::Constant(-1);
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y) {
            const std::uint8_t* row = values + (z * ny + y) * nx;
            const std::uint8_t* first = std::find_if(row, row + nx, [](std::uint8_t v) { return v != 0; });
            if (first == row + nx)
                continue;
            const auto last = std::find_if(std::make_reverse_iterator(row + nx), std::make_reverse_iterator(row),
                                           [](std::uint8_t v) { return v != 0; });
            low = low.cwiseMin(Eigen::Vector3i(int(first - row), y, z));
            high = high.cwiseMax(Eigen::Vector3i(int(last.base() - 1 - row), y, z));
        }
    if ((high.array() < low.array()).any())
        return 0;
    low = (low.array() - 1).max(0);
    high = (high.array() + 1).min(dims.array() - 1);
    const Eigen::Vector3i box = high - low + Eigen::Vector3i::Ones();
    const std::int64_t boxCount = std::int64_t(box.x()) * box.y() * box.z();

    // Reversing the voxel order reverses every axis; thin, then reverse back.
    std::vector<std::uint8_t> reversed(static_cast<std::size_t>(boxCount)), skeleton(reversed.size());
    for (int z = 0; z < box.z(); ++z)
        for (int y = 0; y < box.y(); ++y) {
            const std::uint8_t* row = values + ((z + low.z()) * ny + y + low.y()) * nx + low.x();
            const std::int64_t at = (std::int64_t(z) * box.y() + y) * box.x();
            std::reverse_copy(row, row + box.x(), reversed.begin() + (boxCount - at - box.x()));
        }
    if (!ImageOps::thin(reversed.data(), box, skeleton.data()))
        return 0;
    std::reverse(skeleton.begin(), skeleton.end());

    const Eigen::Matrix4d graphToPixel = mask.worldToPixelMatrix() * graph.matrixToWorld();
    const Eigen::Matrix4d pixelToGraph = graphToPixel.inverse();
    const CellMask cells(mask);
    // Graph nodes with their pixel position and covered reach, bucketed in cells of 8 voxels.
    struct Node {
        unsigned long id;
        Eigen::Vector3d pixel;
        double reach;
    };
    std::vector<Node> nodes;
    double farthestReach = 0.0;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        const Eigen::Vector3d pixel =
            graphToPixel.topLeftCorner<3, 3>() * node.position + graphToPixel.topRightCorner<3, 1>();
        nodes.push_back({id, pixel, innerRadius(cells, pixel, planar) + 2.0});
        farthestReach = std::max(farthestReach, nodes.back().reach);
    });
    constexpr double cellSize = 8.0;
    const auto cellKey = [](const Eigen::Vector3i& c) { return (std::int64_t(c.z()) * 4096 + c.y()) * 4096 + c.x(); };
    const auto cellOf = [&](const Eigen::Vector3d& p) { return (p / cellSize).array().floor().cast<int>().eval(); };
    std::unordered_map<std::int64_t, std::vector<std::size_t>> buckets;
    for (std::size_t n = 0; n < nodes.size(); ++n)
        buckets[cellKey(cellOf(nodes[n].pixel))].push_back(n);
    const int cellReach = static_cast<int>(std::ceil(farthestReach / cellSize));
    const auto isCovered = [&](const Eigen::Vector3d& p) {
        const Eigen::Vector3i c = cellOf(p);
        for (int dz = -cellReach; dz <= cellReach; ++dz)
            for (int dy = -cellReach; dy <= cellReach; ++dy)
                for (int dx = -cellReach; dx <= cellReach; ++dx) {
                    const auto bucket = buckets.find(cellKey(c + Eigen::Vector3i(dx, dy, dz)));
                    if (bucket == buckets.end())
                        continue;
                    for (std::size_t n : bucket->second)
                        if ((nodes[n].pixel - p).norm() <= nodes[n].reach)
                            return true;
                }
        return false;
    };

    // The new skeleton's voxels (full-grid linear index -> covered).
    const auto index = [&](const Eigen::Vector3i& v) { return (std::int64_t(v.z()) * ny + v.y()) * nx + v.x(); };
    std::unordered_map<std::int64_t, bool> covered;
    std::vector<std::int64_t> ascending; // the same voxels in index order, so that the output is deterministic
    for (std::int64_t k = 0; k < boxCount; ++k)
        if (skeleton[static_cast<std::size_t>(k)]) {
            const Eigen::Vector3i v =
                low + Eigen::Vector3i(int(k % box.x()), int(k / box.x() % box.y()), int(k / (box.x() * box.y())));
            covered.emplace(index(v), isCovered(v.cast<double>()));
            ascending.push_back(index(v));
        }
    const auto voxelOf = [&](std::int64_t i) {
        return Eigen::Vector3i(int(i % nx), int(i / nx % ny), int(i / (nx * ny)));
    };
    // Calls fn(index, covered) for each skeleton voxel 26-adjacent to v.
    const auto forNeighbours = [&](const Eigen::Vector3i& v, const auto& fn) {
        for (int dz = planar ? 0 : -1; dz <= (planar ? 0 : 1); ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const Eigen::Vector3i w = v + Eigen::Vector3i(dx, dy, dz);
                    if (w == v || (w.array() < 0).any() || (w.array() >= dims.array()).any())
                        continue;
                    const auto found = covered.find(index(w));
                    if (found != covered.end())
                        fn(found->first, found->second);
                }
    };

    std::unordered_map<std::int64_t, bool> seen;
    std::size_t added = 0;
    for (const std::int64_t start : ascending) {
        if (covered.at(start) || seen.count(start))
            continue;
        // The piece: uncovered voxels 26-connected to start; `entry` is one next to a covered one.
        std::vector<std::int64_t> piece{start};
        seen.emplace(start, true);
        std::int64_t entry = -1;
        for (std::size_t k = 0; k < piece.size(); ++k)
            forNeighbours(voxelOf(piece[k]), [&](std::int64_t w, bool wCovered) {
                if (wCovered && entry < 0)
                    entry = piece[k];
                if (!wCovered && seen.emplace(w, true).second)
                    piece.push_back(w);
            });
        if (entry < 0 || piece.size() < 3)
            continue; // a separate object, or too small to be a branch
        // Its longest chain from the entry: breadth-first over the piece, back from the last voxel reached.
        std::unordered_map<std::int64_t, std::int64_t> parent{{entry, -1}};
        std::vector<std::int64_t> queue{entry};
        for (std::size_t k = 0; k < queue.size(); ++k)
            forNeighbours(voxelOf(queue[k]), [&](std::int64_t w, bool wCovered) {
                if (!wCovered && parent.emplace(w, queue[k]).second)
                    queue.push_back(w);
            });
        std::vector<std::int64_t> chain; // from the entry to the farthest voxel
        for (std::int64_t at = queue.back(); at >= 0; at = parent.at(at))
            chain.push_back(at);
        std::reverse(chain.begin(), chain.end());
        const Eigen::Vector3d entryPixel = voxelOf(entry).cast<double>();
        const auto nearest = std::min_element(nodes.begin(), nodes.end(), [&](const Node& a, const Node& b) {
            return (a.pixel - entryPixel).squaredNorm() < (b.pixel - entryPixel).squaredNorm();
        });
        unsigned long tip = nearest->id;
        for (const std::int64_t at : chain) {
            const Eigen::Vector3d pixel = voxelOf(at).cast<double>();
            Graph::NodeInfo node;
            node.position = pixelToGraph.topLeftCorner<3, 3>() * pixel + pixelToGraph.topRightCorner<3, 1>();
            const unsigned long id = graph.addNode(std::move(node));
            graph.addEdge(tip, id, Graph::EdgeInfo{});
            tip = id;
        }
        ++added;
    }
    return added;
}

} // namespace Tarnwick
