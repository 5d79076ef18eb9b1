#pragma once

#include <TarnwickCore/Properties.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/GraphMLWriter.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

namespace Tarnwick::Test {

/// A graph that exercises everything a file must keep: ids with a gap and a removed largest id, two
/// node features and two edge features with non-zero defaults, a NaN and an infinite value, a self
/// loop, attributes of several types on a node and an edge, and a non-identity world matrix.
/// Nodes 1, 2, 4 remain (3 and 5 were removed, so maxNodeId() is 5).
inline std::unique_ptr<Graph> makeRichGraph(Graph::Type type, Graph::Dimension dimension) {
    auto graph = std::make_unique<Graph>(type, dimension);
    graph->addNodeFeatureDescriptors({{"degree", 1.5}, {"radius", -2.0}});
    graph->getOrCreateEdgeFeatureIdx("length", 0.25);
    for (int i = 1; i <= 5; ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d(i * 1.25, -i / 3.0, dimension == Graph::Dim3D ? i * 1e-7 : 0.0),
                                       {double(i), i * 0.1}));
    graph->removeNode(3);
    graph->removeNode(5);
    graph->editNode(2, [](Graph::NodeInfo& node) {
        node.features[1] = std::numeric_limits<double>::quiet_NaN();
        node.attributes.setParam("label", std::string("bifurcation \"A\""));
        node.attributes.setParam("count", 3);
        node.attributes.setParam("normal", Eigen::Vector3d(0.0, 0.6, 0.8));
    });
    Properties edgeAttributes;
    edgeAttributes.setParam("segment", std::string("left"));
    graph->addEdge(1, 2, Graph::EdgeInfo{{0.5, 2.0}, edgeAttributes});
    graph->addEdge(2, 4, Graph::EdgeInfo{{std::numeric_limits<double>::infinity(), 1e300}, Properties()});
    graph->addEdge(4, 4, Graph::EdgeInfo{{1.0, 0.0}, Properties()});
    if (type == Graph::Directed)
        graph->addEdge(2, 1, Graph::EdgeInfo{{0.75, 3.0}, Properties()});
    Eigen::Matrix4d toWorld = Eigen::Matrix4d::Identity();
    toWorld.block<3, 3>(0, 0) << 0, -1, 0, 1, 0, 0, 0, 0, 2;
    toWorld.block<3, 1>(0, 3) << 10.5, -20.25, 3.0;
    graph->setMatrixToWorld(toWorld);
    return graph;
}

/// The GraphML text GraphMLWriter writes for `graph`.
inline std::string toGraphML(const Graph& graph, bool exportFeatures) {
    std::ostringstream out;
    GraphMLWriter::write(graph, exportFeatures, out);
    return out.str();
}

/// Builds expected binary records field by field, in native byte order.
class ByteBuilder {
public:
    ByteBuilder& text(std::string_view s) {
        m_bytes.append(s);
        return *this;
    }
    template <typename T>
    ByteBuilder& value(T v) {
        char raw[sizeof(T)];
        std::memcpy(raw, &v, sizeof(T));
        m_bytes.append(raw, sizeof(T));
        return *this;
    }
    ByteBuilder& u8(std::uint8_t v) { return value(v); }
    ByteBuilder& u32(std::uint32_t v) { return value(v); }
    ByteBuilder& u64(std::uint64_t v) { return value(v); }
    ByteBuilder& f64(double v) { return value(v); }
    const std::string& bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

} // namespace Tarnwick::Test
