#pragma once

#include <TarnwickLib/Algorithm/IoAlgorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;

/// Reads a Graph from a GraphML file (load mode, no input) or writes one to it (save mode, one graph
/// as input); the file path is the host's "location" parameter and the only extension is "graphml".
/// What goes into and comes out of the file is described by GraphMLReader and GraphMLWriter.
///
/// Status after compute(): 0 on success; 1 when the file cannot be read or written or its content is
/// not a graph. The reason is logged. A loaded graph replaces
/// any earlier result and is handed out by takeOutput().
class GraphMLIoAlgorithm : public IoAlgorithm {
public:
    /// Load mode.
    GraphMLIoAlgorithm();
    /// Save mode for `graph`, which must outlive the algorithm.
    explicit GraphMLIoAlgorithm(const Graph& graph);

    /// An empty selection creates a loader, a selection of exactly one Graph a saver; anything else
    /// is rejected.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;
    std::vector<std::string> supportedFileExtensions() const override { return {"graphml"}; }

    /// The graph in the file at `path`, or null with the reason logged ("Could not open <path> for
    /// reading." when the file cannot be opened).
    static std::unique_ptr<Graph> loadFromGraphML(const std::string& path);
    /// The graph in the GraphML text of `in`, or null with the reason logged.
    static std::unique_ptr<Graph> loadFromGraphML(std::istream& in);
    /// Writes `graph` to `path` (features according to exportFeatures). The file is replaced only
    /// when the whole document was written, so a failure leaves an existing file as it was. Logs
    /// "Failed to open '<path>'." or "Failed to write GraphML: <reason>" and returns false on failure.
    bool saveToGraphML(const Graph& graph, const std::string& path, Progress* progress = nullptr) const;

    /// Whether node and edge features are written (keys and values); positions always are.
    Parameter<bool> p_exportFeatures{"exportFeatures", true, this};

private:
    void setupParameters();

    const Graph* m_graph = nullptr;
};

} // namespace Tarnwick
