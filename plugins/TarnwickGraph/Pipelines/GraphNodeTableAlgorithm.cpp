#include <TarnwickGraph/Pipelines/GraphNodeTableAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/CsvLocation.h>
#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <cmath>
#include <ostream>

namespace Tarnwick {

namespace {

constexpr const char* logCategory = "Graph.GraphNodeTableAlgorithm";

const char* kindOf(std::size_t degree) {
    return degree == 0 ? "isolated" : degree == 1 ? "end" : degree == 2 ? "inner" : "junction";
}

/// A number in its shortest exact form; empty for NaN.
std::string number(double value) {
    return std::isnan(value) ? std::string() : fmt::format("{}", value);
}

} // namespace

GraphNodeTableAlgorithm::GraphNodeTableAlgorithm(const Graph& graph) : m_graph(graph) {
    location.setAttribute("tooltip", "The CSV file to write.");
}

bool GraphNodeTableAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    if (graphs.size() != 1 || data.size() != 1)
        return false;
    if (out)
        *out = new GraphNodeTableAlgorithm(*graphs.front());
    return true;
}

void GraphNodeTableAlgorithm::writeCsv(const Graph& graph, std::ostream& out) {
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    out << "node_id,x,y,z,degree,diameter_mm,kind\n";
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node, const Graph::Neighborhood& neighbours) {
        double diameterSum = 0.0;
        for (const auto& [neighbour, edge] : neighbours) {
            // A directed edge's record sits at its source: look it up from the other end too.
            const std::optional<Graph::EdgeInfo>& record = edge ? edge : graph.edge(neighbour, id);
            if (diameterIdx && record)
                diameterSum += record->features[*diameterIdx];
        }
        const std::string diameter =
            diameterIdx && !neighbours.empty() ? number(diameterSum / double(neighbours.size())) : std::string();
        fmt::print(out, "{},{},{},{},{},{},{}\n", id, number(node.position.x()), number(node.position.y()),
                   number(node.position.z()), neighbours.size(), diameter, kindOf(neighbours.size()));
    });
}

void GraphNodeTableAlgorithm::compute() {
    const std::string path = location;
    if (const std::optional<std::string> error = csvLocationError(path, "node table")) {
        TW_LOG_CAT_ERROR(logCategory, "{}", *error);
        setStatus(InvalidInput);
        return;
    }
    AtomicFileWriter file(path);
    std::string error;
    if (file.open(error)) {
        writeCsv(m_graph, file.stream());
        file.stream().flush();
        if (file.writeError().empty() && file.commit(error)) {
            setStatus(Success);
            return;
        }
        if (error.empty())
            error = file.writeError();
    }
    TW_LOG_CAT_ERROR(logCategory, "Writing the node table '{}' failed: {}", path, error);
    setStatus(Error);
}

} // namespace Tarnwick
