#include <TarnwickGraph/Pipelines/GraphPipelinesFactory.h>

#include <TarnwickGraph/Pipelines/GraphSegmentTableAlgorithm.h>
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>

namespace Tarnwick {

GraphPipelinesFactory::GraphPipelinesFactory() : AlgorithmFactory("GraphPipelines") {
    registerAlgorithm<VesselGraphExtractionAlgorithm>("VesselGraphExtraction", "Pipelines;Vessel Graph Extraction");
    registerAlgorithm<GraphSegmentTableAlgorithm>("GraphSegmentTable", "Pipelines;Graph Segment Table");
}

} // namespace Tarnwick
