#include <TarnwickGraph/IO/GraphRecord.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/PropertiesIO.h>
#include <TarnwickGraph/Graph/Graph.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <istream>
#include <limits>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

namespace {

constexpr std::string_view graphMagic = "GRAPH:";
constexpr std::string_view metadataMagic = "METADATA:";
constexpr std::string_view nodesMagic = "NODES:";
constexpr std::string_view edgesMagic = "EDGES:";
constexpr std::uint64_t maxLength = std::numeric_limits<std::uint32_t>::max();

/// Collects the record in memory and hands it to the stream in large blocks, which is several times
/// faster than one stream call per field.
class RecordWriter {
public:
    explicit RecordWriter(std::ostream& out) : m_out(out) { m_buffer.reserve(blockSize + 4096); }

    void bytes(const void* data, std::size_t size) {
        m_buffer.append(static_cast<const char*>(data), size);
        if (m_buffer.size() >= blockSize)
            flush();
    }
    void text(std::string_view text) { bytes(text.data(), text.size()); }
    template <typename T>
    void value(T v) {
        bytes(&v, sizeof(T));
    }
    void doubles(const std::vector<double>& values) { bytes(values.data(), values.size() * sizeof(double)); }
    void flush() {
        m_out.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
        m_buffer.clear();
    }

private:
    static constexpr std::size_t blockSize = 1 << 20;
    std::ostream& m_out;
    std::string m_buffer;
};

bool writeDescriptors(RecordWriter& writer, const std::vector<Graph::FeatureDescriptor>& descriptors) {
    writer.value(static_cast<std::uint32_t>(descriptors.size()));
    for (const auto& descriptor : descriptors) {
        if (descriptor.name.size() > maxLength) {
            TW_LOG_ERROR("Feature name too long");
            return false;
        }
        writer.value(static_cast<std::uint32_t>(descriptor.name.size()));
        writer.text(descriptor.name);
        writer.value(descriptor.defaultValue);
    }
    return true;
}

bool writeAttributes(RecordWriter& writer, const Properties& attributes) {
    if (attributes.isEmpty()) {
        writer.value(std::uint32_t(0));
        return true;
    }
    const std::optional<std::string> text = PropertiesIO::saveToString(attributes, PropertiesIO::Json, -1);
    if (!text) {
        TW_LOG_ERROR("Failed to serialize attributes");
        return false;
    }
    if (text->size() > maxLength) {
        TW_LOG_ERROR("Attribute string too long");
        return false;
    }
    writer.value(static_cast<std::uint32_t>(text->size()));
    writer.text(*text);
    return true;
}

bool writeRecord(const Graph& graph, RecordWriter& writer) {
    writer.text(graphMagic);
    writer.text(metadataMagic);
    const Eigen::Matrix4d toWorld = graph.matrixToWorld(); // Eigen stores column-major
    writer.bytes(toWorld.data(), 16 * sizeof(double));
    writer.value(static_cast<std::uint8_t>(graph.type() == Graph::Directed ? 1 : 0));
    writer.value(static_cast<std::uint8_t>(graph.dimension() == Graph::Dim2D ? 1 : 0));
    writer.value(static_cast<std::uint64_t>(graph.maxNodeId()));
    if (!writeDescriptors(writer, graph.nodeFeatureDescriptors()) ||
        !writeDescriptors(writer, graph.edgeFeatureDescriptors()))
        return false;

    writer.text(nodesMagic);
    writer.value(static_cast<std::uint64_t>(graph.numNodes()));
    bool ok = true;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        if (!ok)
            return;
        writer.value(static_cast<std::uint64_t>(id));
        writer.bytes(node.position.data(), 3 * sizeof(double));
        writer.doubles(node.features);
        ok = writeAttributes(writer, node.attributes);
    });
    if (!ok)
        return false;

    // Edge counts travel through a signed 32-bit integer in files of this version; refuse what
    // cannot be represented instead of writing a corrupt count.
    if (graph.numEdges() > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max())) {
        TW_LOG_ERROR("Too many edges for the graph record: {}", graph.numEdges());
        return false;
    }
    writer.text(edgesMagic);
    writer.value(static_cast<std::uint64_t>(graph.numEdges()));
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        if (!ok)
            return;
        writer.value(static_cast<std::uint64_t>(from));
        writer.value(static_cast<std::uint64_t>(to));
        writer.doubles(edge.features);
        ok = writeAttributes(writer, edge.attributes);
    });
    return ok;
}

/// Reads fields straight from the stream buffer, the fixed-size part of each node and edge record in
/// one call. Every read reports whether the stream held enough bytes; text is read in bounded chunks
/// so a corrupt length cannot make it allocate more than the stream actually contains. A short read
/// marks the stream as failed.
class RecordReader {
public:
    explicit RecordReader(std::istream& in) : m_in(in) {}

    bool bytes(void* data, std::size_t size) {
        std::streambuf* buffer = m_in.rdbuf();
        const auto wanted = static_cast<std::streamsize>(size);
        if (buffer && buffer->sgetn(static_cast<char*>(data), wanted) == wanted)
            return true;
        m_in.setstate(std::ios::eofbit | std::ios::failbit);
        return false;
    }
    template <typename T>
    bool value(T& v) {
        return bytes(&v, sizeof(T));
    }
    bool magic(std::string_view expected) {
        char found[16];
        return bytes(found, expected.size()) && std::string_view(found, expected.size()) == expected;
    }
    bool text(std::string& out, std::uint32_t length) {
        out.clear();
        while (out.size() < length) {
            const std::size_t chunk = std::min<std::size_t>(length - out.size(), chunkSize);
            const std::size_t start = out.size();
            out.resize(start + chunk);
            if (!bytes(out.data() + start, chunk))
                return false;
        }
        return true;
    }
    /// Reads the fixed-size start of a node or edge record in one go: `headSize` bytes of ids and
    /// position, `featureCount` doubles and the u32 length of the attribute text. `featureCount` is a
    /// descriptor count, so it is bounded by the bytes already read.
    bool fixedPart(std::size_t headSize, std::size_t featureCount) {
        m_featureCount = featureCount;
        m_fixed.resize(headSize + featureCount * sizeof(double) + sizeof(std::uint32_t));
        return bytes(m_fixed.data(), m_fixed.size());
    }
    /// A field of the head of the last fixed part.
    template <typename T>
    T field(std::size_t offset) const {
        T v;
        std::memcpy(&v, m_fixed.data() + offset, sizeof(T));
        return v;
    }
    /// The features of the last fixed part.
    void features(std::vector<double>& out) const {
        out.resize(m_featureCount);
        if (m_featureCount == 0)
            return; // memcpy must not see the null data of an empty vector
        const std::size_t featuresAt = m_fixed.size() - sizeof(std::uint32_t) - m_featureCount * sizeof(double);
        std::memcpy(out.data(), m_fixed.data() + featuresAt, m_featureCount * sizeof(double));
    }
    /// The attribute text announced by the last fixed part; `parsed` stays empty for length 0. False
    /// with `malformed` set when the text is not a valid attribute set, false without it when the
    /// stream ends.
    bool attributes(Properties& parsed, bool& malformed) {
        const auto length = field<std::uint32_t>(m_fixed.size() - sizeof(std::uint32_t));
        if (length == 0)
            return true;
        if (!text(m_text, length))
            return false;
        std::optional<Properties> loaded = PropertiesIO::loadFromString(m_text, PropertiesIO::Json);
        if (!loaded) {
            malformed = true;
            return false;
        }
        parsed = std::move(*loaded);
        return true;
    }

private:
    static constexpr std::size_t chunkSize = 1 << 16;
    std::istream& m_in;
    std::vector<char> m_fixed;
    std::size_t m_featureCount = 0;
    std::string m_text;
};

bool fail(const char* message) {
    TW_LOG_ERROR("{}", message);
    return false;
}

bool readDescriptors(RecordReader& reader, std::vector<Graph::FeatureDescriptor>& descriptors) {
    std::uint32_t count = 0;
    if (!reader.value(count))
        return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t length = 0;
        Graph::FeatureDescriptor descriptor;
        if (!reader.value(length) || !reader.text(descriptor.name, length) || !reader.value(descriptor.defaultValue))
            return false;
        descriptors.push_back(std::move(descriptor));
    }
    return true;
}

bool readMetadata(Graph& graph, RecordReader& reader) {
    Eigen::Matrix4d toWorld;
    std::uint8_t directed = 0;
    std::uint8_t twoDimensional = 0;
    std::uint64_t maxNodeId = 0;
    if (!reader.bytes(toWorld.data(), 16 * sizeof(double)) || !reader.value(directed) ||
        !reader.value(twoDimensional) || !reader.value(maxNodeId))
        return false;
    graph.setMatrixToWorld(toWorld);
    if (directed != 0)
        graph.setType(Graph::Directed);
    graph.setDimension(twoDimensional != 0 ? Graph::Dim2D : Graph::Dim3D);
    graph.setMaxNodeId(maxNodeId);

    std::vector<Graph::FeatureDescriptor> nodeDescriptors;
    std::vector<Graph::FeatureDescriptor> edgeDescriptors;
    if (!readDescriptors(reader, nodeDescriptors))
        return false;
    graph.addNodeFeatureDescriptors(nodeDescriptors);
    if (!readDescriptors(reader, edgeDescriptors))
        return false;
    graph.addEdgeFeatureDescriptors(edgeDescriptors);
    return true;
}

bool readNodes(Graph& graph, RecordReader& reader) {
    const char* const invalid = "Invalid nodes header";
    std::uint64_t count = 0;
    if (!reader.magic(nodesMagic) || !reader.value(count))
        return fail(invalid);
    const std::size_t featureCount = graph.nodeFeatureDescriptors().size();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!reader.fixedPart(4 * sizeof(std::uint64_t), featureCount)) // id, x, y, z
            return fail(invalid);
        Graph::NodeInfo node;
        for (int axis = 0; axis < 3; ++axis)
            node.position[axis] = reader.field<double>(sizeof(std::uint64_t) * (axis + 1));
        reader.features(node.features);
        bool malformed = false;
        if (!reader.attributes(node.attributes, malformed))
            return fail(malformed ? "Failed to deserialize node attributes" : invalid);
        graph.addOrReplaceNode(reader.field<std::uint64_t>(0), std::move(node));
    }
    return true;
}

bool readEdges(Graph& graph, RecordReader& reader) {
    const char* const invalid = "Invalid edges header";
    std::uint64_t count = 0;
    if (!reader.magic(edgesMagic) || !reader.value(count))
        return fail(invalid);
    const std::size_t featureCount = graph.edgeFeatureDescriptors().size();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!reader.fixedPart(2 * sizeof(std::uint64_t), featureCount)) // from, to
            return fail(invalid);
        const auto from = reader.field<std::uint64_t>(0);
        const auto to = reader.field<std::uint64_t>(sizeof(std::uint64_t));
        Graph::EdgeInfo edge;
        reader.features(edge.features);
        bool malformed = false;
        if (!reader.attributes(edge.attributes, malformed))
            return fail(malformed ? "Failed to deserialize edge attributes" : invalid);
        try {
            graph.addEdge(from, to, std::move(edge)); // throws std::out_of_range for an unknown node
        } catch (const std::out_of_range&) {
            TW_LOG_ERROR("Edge refers to a node that is not in the record: {} -> {}", from, to);
            return false;
        }
    }
    return true;
}

} // namespace

bool GraphRecord::write(const Graph& graph, std::ostream& out) {
    RecordWriter writer(out);
    const bool ok = writeRecord(graph, writer);
    writer.flush();
    return ok;
}

bool GraphRecord::read(Graph& graph, std::istream& in) {
    graph.clearFeatureDescriptors();
    RecordReader reader(in);
    if (!reader.magic(graphMagic))
        return fail("Invalid header");
    if (!reader.magic(metadataMagic) || !readMetadata(graph, reader))
        return fail("Invalid metadata header");
    return readNodes(graph, reader) && readEdges(graph, reader);
}

} // namespace Tarnwick
