// Scores a centerline GraphML (from extract or the Python baseline) against a phantom's true
// centerlines GraphML (from sample), both in world millimetres, and prints the score.
// usage: tarnwick-centerline-score TRUTH.graphml EXTRACTED.graphml VOXEL_MM
// O(samples x edges) per direction: seconds for a few thousand edges.
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

#include "CenterlineScore.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <string>

int main(int argc, char** argv) {
    using namespace Tarnwick;
    double voxel = 0.0;
    try {
        voxel = argc == 4 ? std::stod(argv[3]) : 0.0;
    } catch (const std::exception&) {
    }
    if (!(voxel > 0.0)) {
        std::fprintf(stderr, "usage: %s TRUTH.graphml EXTRACTED.graphml VOXEL_MM (a positive voxel size)\n", argv[0]);
        return 2;
    }
    const std::unique_ptr<Graph> truthGraph = GraphMLIoAlgorithm::loadFromGraphML(argv[1]);
    const std::unique_ptr<Graph> extracted = GraphMLIoAlgorithm::loadFromGraphML(argv[2]);
    if (!truthGraph || !extracted)
        return 1;
    // NetworkX names its data keys d0, d1, ... (attr.name says which is x, y, z), so the positions of its
    // files arrive as node features.
    std::ifstream file(argv[2]);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto keyFor = [&](const char* owner, const std::string& name) -> std::optional<std::string> {
        std::smatch key;
        if (!std::regex_search(
                text, key,
                std::regex(std::string("<key id=\"([^\"]*)\" for=\"") + owner + "\" attr.name=\"" + name + "\"")))
            return std::nullopt;
        return key[1].str();
    };
    std::optional<int> axes[3];
    for (int axis = 0; axis < 3; ++axis)
        if (const auto id = keyFor("node", std::string(1, static_cast<char>('x' + axis))))
            axes[axis] = extracted->getNodeFeatureIdx(*id);
    if (axes[0] && axes[1] && axes[2])
        extracted->editEachNode([&](unsigned long, Graph::NodeInfo& node) {
            node.position = Eigen::Vector3d(node.features[*axes[0]], node.features[*axes[1]], node.features[*axes[2]]);
        });
    const auto diameterKey = keyFor("edge", "diameter");
    const auto storedDiameter = diameterKey ? extracted->getEdgeFeatureIdx(*diameterKey) : std::nullopt;
    if (storedDiameter && *diameterKey != "diameter") {
        const int column = extracted->getOrCreateEdgeFeatureIdx("diameter", 0.0);
        extracted->editEachEdge(
            [&](Graph::EdgeInfo& edge, unsigned long, const Graph::NodeInfo&, unsigned long, const Graph::NodeInfo&) {
                edge.features[column] = edge.features[*storedDiameter];
            });
    }
    const auto diameter = truthGraph->getEdgeFeatureIdx("diameter");
    if (!diameter) {
        std::fprintf(stderr, "%s has no edge feature \"diameter\"\n", argv[1]);
        return 1;
    }
    Test::TrueCenterlines truth;
    std::map<unsigned long, int> index;
    truthGraph->forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        index.emplace(id, static_cast<int>(truth.points.size()));
        truth.points.push_back(node.position);
    });
    truthGraph->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        truth.edges.emplace_back(index.at(from), index.at(to));
        truth.diameters.push_back(edge.features[*diameter]);
    });
    std::printf("%s\n", Test::scoreCenterlines(*extracted, truth, voxel).describe().c_str());
    return 0;
}
