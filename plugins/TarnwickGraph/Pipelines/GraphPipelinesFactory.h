#pragma once

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

namespace Tarnwick {

/// The graph plug-in's second algorithm factory, named "GraphPipelines": whole jobs built from the
/// catalogue's algorithms, kept apart so that the fifteen-entry "Graph" catalogue stays as it is.
/// Identifiers are stored in workspace files and scripts, so they never change:
///
///   identifier               menu name
///   VesselGraphExtraction    Pipelines;Vessel Graph Extraction
///   GraphSegmentTable        Pipelines;Graph Segment Table
///   GraphNodeTable           Pipelines;Graph Node Table
///   GraphVtpExport           Pipelines;Export VTK PolyData
class GraphPipelinesFactory : public AlgorithmFactory {
public:
    GraphPipelinesFactory();
};

} // namespace Tarnwick
