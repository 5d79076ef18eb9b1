#include <TarnwickGraph/IO/GraphMLWriter.h>

#include <TarnwickGraph/Graph/Graph.h>

#include <fmt/format.h>

#include <cmath>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

namespace {

/// Appends `value` with the XML writer's escaping: the five special characters become entities, and a
/// text of blanks only starts with "&#32;" so that it survives reading.
void appendEscaped(std::string_view value, std::string& out) {
    if (!value.empty() && value.find_first_not_of(' ') == std::string_view::npos) {
        out.append("&#32;");
        out.append(value.substr(1));
        return;
    }
    for (char c : value) {
        switch (c) {
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '&':
            out.append("&amp;");
            break;
        case '"':
            out.append("&quot;");
            break;
        case '\'':
            out.append("&apos;");
            break;
        default:
            out.push_back(c);
        }
    }
}

/// Appends the document to a buffer that goes to the stream in large blocks.
class DocumentWriter {
public:
    explicit DocumentWriter(std::ostream& out) : m_out(out) { m_buffer.reserve(blockSize + 4096); }

    void text(std::string_view text) {
        m_buffer.append(text);
        if (m_buffer.size() >= blockSize)
            flush();
    }
    void escaped(std::string_view value) {
        appendEscaped(value, m_buffer);
        if (m_buffer.size() >= blockSize)
            flush();
    }
    void number(double value) { fmt::format_to(std::back_inserter(m_buffer), "{}", value); }
    void id(unsigned long nodeId) { fmt::format_to(std::back_inserter(m_buffer), "n{}", nodeId); }
    bool flush() {
        m_out.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
        m_buffer.clear();
        return bool(m_out);
    }

private:
    static constexpr std::size_t blockSize = 1 << 20;
    std::ostream& m_out;
    std::string m_buffer;
};

void writeKey(DocumentWriter& writer, const std::string& id, const char* owner) {
    writer.text("    <key id=\"");
    writer.escaped(id);
    writer.text("\" for=\"");
    writer.text(owner);
    // The rewrite of the placeholder only matches a non-empty id.
    if (id.empty()) {
        writer.text("\" attr=\"\"/>\n");
        return;
    }
    writer.text("\" attr.name=\"");
    writer.escaped(id);
    writer.text("\" attr.type=\"double\"/>\n");
}

/// The start tag of a data element for `key`, escaped once per key rather than once per element.
std::string dataStartTag(std::string_view key) {
    std::string tag = "            <data key=\"";
    appendEscaped(key, tag);
    tag.append("\">");
    return tag;
}

std::vector<std::string> dataStartTags(const std::vector<Graph::FeatureDescriptor>& descriptors) {
    std::vector<std::string> tags;
    tags.reserve(descriptors.size());
    for (const auto& descriptor : descriptors)
        tags.push_back(dataStartTag(descriptor.name));
    return tags;
}

void writeData(DocumentWriter& writer, const std::string& startTag, double value) {
    writer.text(startTag);
    writer.number(value);
    writer.text("</data>\n");
}

void writeFeatures(DocumentWriter& writer, const std::vector<std::string>& startTags,
                   const std::vector<double>& values) {
    for (std::size_t i = 0; i < startTags.size(); ++i)
        writeData(writer, startTags[i], values[i]);
}

/// Throws std::invalid_argument naming the first node with a position component that would be written
/// and is not finite: readers refuse such files, so none is written.
void checkPositions(const Graph& graph, bool threeDimensional) {
    const int axes = threeDimensional ? 3 : 2;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        for (int axis = 0; axis < axes; ++axis)
            if (!std::isfinite(node.position[axis]))
                throw std::invalid_argument(fmt::format("node {} (n{}): position {} is {}, not a finite number", id, id,
                                                        "xyz"[axis], node.position[axis]));
    });
}

} // namespace

bool GraphMLWriter::write(const Graph& graph, bool exportFeatures, std::ostream& out) {
    const bool threeDimensional = graph.dimension() == Graph::Dim3D;
    checkPositions(graph, threeDimensional);
    const bool nodeFeatures = exportFeatures && !graph.nodeFeatureDescriptors().empty();
    const bool edgeFeatures = exportFeatures && !graph.edgeFeatureDescriptors().empty();
    DocumentWriter writer(out);
    writer.text("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\">\n");
    writeKey(writer, "x", "node");
    writeKey(writer, "y", "node");
    if (threeDimensional)
        writeKey(writer, "z", "node");
    if (exportFeatures) {
        for (const auto& descriptor : graph.nodeFeatureDescriptors())
            writeKey(writer, descriptor.name, "node");
        for (const auto& descriptor : graph.edgeFeatureDescriptors())
            writeKey(writer, descriptor.name, "edge");
    }

    // A graph placed by the LPS-to-RAS mirror holds RAS positions: the file says so.
    const bool ras = graph.matrixToWorld() == Eigen::Matrix4d(Eigen::Vector4d(-1, -1, 1, 1).asDiagonal());
    if (ras)
        writer.text(
            "    <key id=\"coordinateFrame\" for=\"graph\" attr.name=\"coordinateFrame\" attr.type=\"string\"/>\n");
    writer.text("    <graph id=\"G\" edgedefault=\"");
    writer.text(graph.type() == Graph::Directed ? "directed" : "undirected");
    // An element with attributes only is closed in its start tag.
    if (graph.numNodes() == 0 && !ras) {
        writer.text("\"/>\n</graphml>\n");
        return writer.flush();
    }
    writer.text("\">\n");
    if (ras)
        writer.text("        <data key=\"coordinateFrame\">RAS</data>\n");
    const std::string xTag = dataStartTag("x"), yTag = dataStartTag("y"), zTag = dataStartTag("z");
    const std::vector<std::string> nodeFeatureTags =
        nodeFeatures ? dataStartTags(graph.nodeFeatureDescriptors()) : std::vector<std::string>();
    const std::vector<std::string> edgeFeatureTags =
        edgeFeatures ? dataStartTags(graph.edgeFeatureDescriptors()) : std::vector<std::string>();
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        writer.text("        <node id=\"");
        writer.id(id);
        writer.text("\">\n");
        writeData(writer, xTag, node.position.x());
        writeData(writer, yTag, node.position.y());
        if (threeDimensional)
            writeData(writer, zTag, node.position.z());
        writeFeatures(writer, nodeFeatureTags, node.features);
        writer.text("        </node>\n");
    });
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        writer.text("        <edge source=\"");
        writer.id(from);
        writer.text("\" target=\"");
        writer.id(to);
        if (!edgeFeatures) {
            writer.text("\"/>\n");
            return;
        }
        writer.text("\">\n");
        writeFeatures(writer, edgeFeatureTags, edge.features);
        writer.text("        </edge>\n");
    });
    writer.text("    </graph>\n</graphml>\n");
    return writer.flush();
}

} // namespace Tarnwick
