// Random sequences of graph edits checked against a plain reference model (a node set and an edge map)
// and against the storage invariants after every step.
#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

namespace Tarnwick {
namespace {

using EdgeKey = std::pair<unsigned long, unsigned long>;

/// What the graph should hold: node ids and edges with their first feature. Undirected keys are (min, max).
struct Model {
    Graph::Type type;
    std::map<unsigned long, double> nodes; ///< id -> x position
    std::map<EdgeKey, double> edges;
    unsigned long maxId = 0;

    EdgeKey key(unsigned long u, unsigned long v) const {
        return type == Graph::Undirected ? EdgeKey{std::min(u, v), std::max(u, v)} : EdgeKey{u, v};
    }
    unsigned int degree(unsigned long id, Graph::DegreeType degreeType) const {
        unsigned int in = 0, out = 0;
        for (const auto& [k, value] : edges) {
            out += k.first == id;
            in += k.second == id;
        }
        if (type == Graph::Undirected)
            return in + out;
        return degreeType == Graph::In ? in : degreeType == Graph::Out ? out : in + out;
    }
};

void expectMatches(const Graph& graph, const Model& model, const std::string& step) {
    SCOPED_TRACE(step);
    ASSERT_TRUE(Tarnwick::Test::graphIsConsistent(graph));
    EXPECT_EQ(graph.maxNodeId(), model.maxId);
    std::map<unsigned long, double> nodes;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& info) { nodes[id] = info.position.x(); });
    EXPECT_EQ(nodes, model.nodes);
    std::map<EdgeKey, double> edges;
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long u, unsigned long v) {
        EXPECT_TRUE(edges.emplace(EdgeKey{u, v}, edge.features[0]).second) << "reported twice";
    });
    EXPECT_EQ(edges, model.edges);
    for (const auto& [id, x] : model.nodes)
        for (auto degreeType : {Graph::Total, Graph::In, Graph::Out})
            EXPECT_EQ(graph.degree(id, degreeType), model.degree(id, degreeType)) << "node " << id;
}

void runRandomEdits(Graph::Type type, unsigned seed) {
    std::mt19937 rng(seed);
    Graph graph(type, Graph::Dim3D);
    Model model{type, {}, {}, 0};
    auto randomId = [&] { return static_cast<unsigned long>(rng() % 24); };
    auto randomValue = [&] { return static_cast<double>(rng() % 100); };
    for (int step = 0; step < 400; ++step) {
        const unsigned long u = randomId(), v = rng() % 5 == 0 ? u : randomId();
        const double value = randomValue();
        const int op = static_cast<int>(rng() % 8);
        switch (op) {
        case 0: {
            const unsigned long id = graph.addNode(Tarnwick::Test::nodeAt(value));
            EXPECT_EQ(id, model.maxId + 1);
            model.nodes[id] = value;
            model.maxId = id;
            break;
        }
        case 1:
            graph.addOrReplaceNode(u, Tarnwick::Test::nodeAt(value));
            model.nodes[u] = value;
            model.maxId = std::max(model.maxId, u);
            break;
        case 2:
            graph.removeNode(u);
            model.nodes.erase(u);
            for (auto it = model.edges.begin(); it != model.edges.end();)
                it = it->first.first == u || it->first.second == u ? model.edges.erase(it) : std::next(it);
            break;
        case 3:
        case 4: {
            const bool known = model.nodes.count(u) && model.nodes.count(v);
            if (!known) {
                EXPECT_THROW(graph.addEdge(u, v, Tarnwick::Test::edgeWith(value)), std::out_of_range);
                break;
            }
            graph.addEdge(u, v, Tarnwick::Test::edgeWith(value));
            if (type == Graph::Directed)
                model.edges[{u, v}] = value;
            else
                model.edges.emplace(model.key(u, v), value);
            break;
        }
        case 5:
            graph.removeEdge(u, v);
            model.edges.erase(model.key(u, v));
            break;
        case 6:
            graph.editEdge(u, v, [&](Graph::EdgeInfo& edge) { edge.features[0] = value; });
            if (auto it = model.edges.find(model.key(u, v)); it != model.edges.end())
                it->second = value;
            break;
        default: // add and drop a feature column around everything else
            if (rng() % 2)
                graph.getOrCreateEdgeFeatureIdx("extra", value);
            else
                graph.removeEdgeFeatures(std::vector<std::string>{"extra"});
            break;
        }
        expectMatches(graph, model,
                      "seed " + std::to_string(seed) + " step " + std::to_string(step) + " op " + std::to_string(op) +
                          " (" + std::to_string(u) + ", " + std::to_string(v) + ")");
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

TEST(GraphPropertyTest, RandomEditsMatchTheReferenceModel) {
    for (auto type : {Graph::Undirected, Graph::Directed})
        for (unsigned seed = 1; seed <= 8; ++seed)
            runRandomEdits(type, seed);
}

} // namespace
} // namespace Tarnwick
