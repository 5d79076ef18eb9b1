#include "BenchGraph.h"

#include <cmath>
#include <fstream>

namespace Tarnwick::Bench {

namespace {

constexpr std::size_t chainLength = 20;

template <typename T>
bool writeRaw(const std::vector<T>& values, const std::string& path) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(values.data()), static_cast<std::streamsize>(values.size() * sizeof(T)));
    return bool(out);
}

template <typename T>
bool readRaw(const std::string& path, std::vector<T>& values) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in)
        return false;
    values.resize(static_cast<std::size_t>(in.tellg()) / sizeof(T));
    in.seekg(0);
    return bool(
        in.read(reinterpret_cast<char*>(values.data()), static_cast<std::streamsize>(values.size() * sizeof(T))));
}

} // namespace

GraphArrays makeVesselArrays(std::size_t nodeCount, std::size_t edgeCount) {
    GraphArrays arrays;
    arrays.positions.resize(3 * nodeCount, 0.0);
    Eigen::Vector3d direction(1, 0, 0);
    const auto addEdge = [&](std::size_t a, std::size_t b) {
        const Eigen::Vector3d pa(&arrays.positions[3 * a]);
        const Eigen::Vector3d pb(&arrays.positions[3 * b]);
        arrays.edges.insert(arrays.edges.end(), {static_cast<long long>(a), static_cast<long long>(b)});
        arrays.features.insert(arrays.features.end(), {0.5 + 4.0 / (1.0 + 1e-4 * double(a)), (pa - pb).norm()});
    };
    for (std::size_t i = 1; i < nodeCount; ++i) {
        const bool chainStart = i % chainLength == 0;
        const std::size_t parent = chainStart ? static_cast<std::size_t>((i * 0x9E3779B97F4A7C15ull) >> 24) % i : i - 1;
        if (chainStart)
            direction = Eigen::Vector3d(std::sin(i * 0.37), std::cos(i * 0.37), std::sin(i * 0.11)).normalized();
        const Eigen::Vector3d position = Eigen::Vector3d(&arrays.positions[3 * parent]) + direction;
        for (int axis = 0; axis < 3; ++axis)
            arrays.positions[3 * i + axis] = position[axis];
        addEdge(parent, i);
    }
    for (std::size_t k = 0; arrays.edgeCount() < edgeCount && k + chainLength < nodeCount; ++k)
        addEdge(k * chainLength % nodeCount, (k * chainLength + chainLength + 7) % nodeCount);
    return arrays;
}

std::unique_ptr<Graph> toGraph(const GraphArrays& arrays) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    graph->getOrCreateEdgeFeatureIdx("length", 0.0);
    for (std::size_t i = 0; i < arrays.nodeCount(); ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d(&arrays.positions[3 * i]), {}));
    for (std::size_t k = 0; k < arrays.edgeCount(); ++k)
        graph->addEdge(arrays.edges[2 * k] + 1, arrays.edges[2 * k + 1] + 1,
                       Graph::EdgeInfo{{arrays.features[2 * k], arrays.features[2 * k + 1]}, Properties()});
    return graph;
}

bool writeArrays(const GraphArrays& arrays, const std::string& prefix) {
    return writeRaw(arrays.positions, prefix + ".positions") && writeRaw(arrays.edges, prefix + ".edges") &&
           writeRaw(arrays.features, prefix + ".features");
}

bool readArrays(const std::string& prefix, GraphArrays& arrays) {
    return readRaw(prefix + ".positions", arrays.positions) && readRaw(prefix + ".edges", arrays.edges) &&
           readRaw(prefix + ".features", arrays.features);
}

} // namespace Tarnwick::Bench
