#pragma once

#include <TarnwickLib/Algorithm/IoAlgorithm.h>

#include <string>
#include <vector>

namespace Tarnwick {

class Graph;

/// Writes one graph to a VTK XML PolyData file (VtpWriter); save mode only, extension "vtp", the file
/// path in the host's "location" parameter. Registered as "GraphVtpExport" in the plug-in's second
/// factory, so that the applications save graphs to .vtp by extension.
///
/// Status after compute(): 0 on success; 1 with the reason logged when the file cannot be written.
class GraphVtpIoAlgorithm : public IoAlgorithm {
public:
    /// graph is borrowed and must outlive the algorithm.
    explicit GraphVtpIoAlgorithm(const Graph& graph);

    /// Compatible with exactly one graph.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;
    std::vector<std::string> supportedFileExtensions() const override { return {"vtp"}; }

private:
    const Graph& m_graph;
};

} // namespace Tarnwick
