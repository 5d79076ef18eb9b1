#include <TarnwickGraph/IO/VtpWriter.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <ostream>
#include <vector>

namespace Tarnwick {

namespace {

/// Base64 of `bytes` (RFC 4648, with padding).
std::string base64(const std::vector<unsigned char>& bytes) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        const std::uint32_t group = std::uint32_t(bytes[i]) << 16 | (left > 1 ? std::uint32_t(bytes[i + 1]) << 8 : 0) |
                                    (left > 2 ? std::uint32_t(bytes[i + 2]) : 0);
        text += alphabet[group >> 18 & 63];
        text += alphabet[group >> 12 & 63];
        text += left > 1 ? alphabet[group >> 6 & 63] : '=';
        text += left > 2 ? alphabet[group & 63] : '=';
    }
    return text;
}

std::string xmlEscaped(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

template <typename T>
constexpr const char* vtkTypeName() {
    return std::is_same_v<T, double> ? "Float64" : "Int64";
}

/// One DataArray element in the binary form of VTK XML 1.0: base64 of a 64-bit byte count followed by the
/// values.
template <typename T>
void writeArray(std::ostream& out, const std::string& name, int components, const std::vector<T>& values) {
    const std::uint64_t byteCount = values.size() * sizeof(T);
    std::vector<unsigned char> bytes(sizeof(byteCount) + byteCount);
    std::memcpy(bytes.data(), &byteCount, sizeof(byteCount));
    if (byteCount > 0)
        std::memcpy(bytes.data() + sizeof(byteCount), values.data(), byteCount);
    out << "        <DataArray type=\"" << vtkTypeName<T>() << "\"";
    if (!name.empty())
        out << " Name=\"" << xmlEscaped(name) << "\"";
    out << " NumberOfComponents=\"" << components << "\" format=\"binary\">" << base64(bytes) << "</DataArray>\n";
}

} // namespace

bool VtpWriter::write(const Graph& graph, std::ostream& out) {
    // Points in ascending node id order; edges as reported by forEachEdge (each undirected edge once).
    std::map<unsigned long, std::int64_t> pointOf;
    std::vector<double> positions;
    std::vector<std::int64_t> ids;
    std::vector<std::vector<double>> nodeColumns(graph.nodeFeatureDescriptors().size());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        pointOf[id] = static_cast<std::int64_t>(ids.size());
        ids.push_back(static_cast<std::int64_t>(id));
        positions.insert(positions.end(), node.position.data(), node.position.data() + 3);
        for (std::size_t f = 0; f < nodeColumns.size(); ++f)
            nodeColumns[f].push_back(node.features[f]);
    });
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    std::vector<double> diameterSum(ids.size(), 0.0), incident(ids.size(), 0.0);
    std::vector<std::int64_t> connectivity, offsets;
    std::vector<std::vector<double>> edgeColumns(graph.edgeFeatureDescriptors().size());
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        for (const unsigned long node : {from, to}) {
            const std::int64_t point = pointOf.at(node);
            connectivity.push_back(point);
            if (diameterIdx) {
                diameterSum[point] += edge.features[*diameterIdx];
                incident[point] += 1.0;
            }
        }
        offsets.push_back(static_cast<std::int64_t>(connectivity.size()));
        for (std::size_t f = 0; f < edgeColumns.size(); ++f)
            edgeColumns[f].push_back(edge.features[f]);
    });

    out << "<?xml version=\"1.0\"?>\n"
        << "<VTKFile type=\"PolyData\" version=\"1.0\" byte_order=\""
        << (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "LittleEndian" : "BigEndian")
        << "\" header_type=\"UInt64\">\n  <PolyData>\n"
        << fmt::format("    <Piece NumberOfPoints=\"{}\" NumberOfVerts=\"0\" NumberOfLines=\"{}\" "
                       "NumberOfStrips=\"0\" NumberOfPolys=\"0\">\n",
                       ids.size(), offsets.size());
    out << "      <PointData" << (diameterIdx ? " Scalars=\"radius\"" : "") << ">\n";
    writeArray(out, "node_id", 1, ids);
    if (diameterIdx) {
        std::vector<double> radius(ids.size(), 0.0);
        for (std::size_t i = 0; i < radius.size(); ++i)
            radius[i] = incident[i] > 0.0 ? diameterSum[i] / incident[i] / 2.0 : 0.0;
        writeArray(out, "radius", 1, radius);
    }
    for (std::size_t f = 0; f < nodeColumns.size(); ++f)
        writeArray(out, graph.nodeFeatureDescriptors()[f].name, 1, nodeColumns[f]);
    out << "      </PointData>\n      <CellData>\n";
    for (std::size_t f = 0; f < edgeColumns.size(); ++f)
        writeArray(out, graph.edgeFeatureDescriptors()[f].name, 1, edgeColumns[f]);
    out << "      </CellData>\n      <Points>\n";
    writeArray(out, "", 3, positions);
    out << "      </Points>\n      <Lines>\n";
    writeArray(out, "connectivity", 1, connectivity);
    writeArray(out, "offsets", 1, offsets);
    out << "      </Lines>\n    </Piece>\n  </PolyData>\n</VTKFile>\n";
    return static_cast<bool>(out.flush());
}

bool VtpWriter::save(const Graph& graph, const std::string& path, std::string& error) {
    AtomicFileWriter file(path);
    if (!file.open(error))
        return false;
    if (!write(graph, file.stream())) {
        const std::string cause = file.writeError();
        error = "cannot write '" + path + "': " + (cause.empty() ? "the stream failed" : cause);
        return false;
    }
    return file.commit(error);
}

} // namespace Tarnwick
