#include <TarnwickGraph/Pipelines/GraphPipelinesFactory.h>

#include <TarnwickGraph/IO/GraphVtpIoAlgorithm.h>
#include <TarnwickGraph/Pipelines/GraphNodeTableAlgorithm.h>
#include <TarnwickGraph/Pipelines/GraphSegmentTableAlgorithm.h>
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>

namespace Tarnwick {

GraphPipelinesFactory::GraphPipelinesFactory() : AlgorithmFactory("GraphPipelines") {
    registerAlgorithm<VesselGraphExtractionAlgorithm>("VesselGraphExtraction", "Pipelines;Vessel Graph Extraction");
    registerAlgorithm<GraphSegmentTableAlgorithm>("GraphSegmentTable", "Pipelines;Graph Segment Table");
    registerAlgorithm<GraphNodeTableAlgorithm>("GraphNodeTable", "Pipelines;Graph Node Table");
    registerAlgorithm<GraphVtpIoAlgorithm>("GraphVtpExport", "Pipelines;Export VTK PolyData");
}

} // namespace Tarnwick
