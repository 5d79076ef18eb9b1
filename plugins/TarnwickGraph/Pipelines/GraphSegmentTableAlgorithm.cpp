// Host adapter of the segment table: checks the location and root, computes the table and writes it.
#include <TarnwickGraph/Pipelines/GraphSegmentTableAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/CsvLocation.h>
#include <TarnwickLib/Data/DataList.h>

namespace Tarnwick {

namespace {
constexpr const char* logCategory = "Graph.GraphSegmentTableAlgorithm";
}

GraphSegmentTableAlgorithm::GraphSegmentTableAlgorithm(const Graph& graph) : m_graph(graph) {
    location.setAttribute("tooltip", "The CSV file to write.");
    root.setAttribute("tooltip", "Root node; unset: the end of the thickest end segment of each component.");
}

bool GraphSegmentTableAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto graphs = data.getAll<Graph>();
    if (graphs.size() != 1 || data.size() != 1)
        return false;
    if (out)
        *out = new GraphSegmentTableAlgorithm(*graphs.front());
    return true;
}

void GraphSegmentTableAlgorithm::compute() {
    m_segments.clear();
    const std::string path = location;
    if (const std::optional<std::string> error = csvLocationError(path, "segment table")) {
        TW_LOG_CAT_ERROR(logCategory, "{}", *error);
        setStatus(InvalidInput);
        return;
    }
    if (root.value() && *root.value() < 0) {
        TW_LOG_CAT_ERROR(logCategory, "The root node {} is not in the graph", *root.value());
        setStatus(InvalidInput);
        return;
    }
    const std::optional<unsigned long> rootNode =
        root.value() ? std::optional<unsigned long>(static_cast<unsigned long>(*root.value())) : std::nullopt;
    std::optional<std::vector<GraphSegment>> segments = computeGraphSegments(m_graph, rootNode);
    if (!segments) {
        setStatus(InvalidInput);
        return;
    }
    std::string error;
    if (!writeGraphSegmentsCsv(*segments, path, error)) {
        TW_LOG_CAT_ERROR(logCategory, "Writing the segment table '{}' failed: {}", path, error);
        setStatus(Error);
        return;
    }
    m_segments = std::move(*segments);
    setStatus(Success);
}

} // namespace Tarnwick
