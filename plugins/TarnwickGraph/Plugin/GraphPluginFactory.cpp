#include <TarnwickGraph/Plugin/GraphPluginFactory.h>

#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>
#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphReindexingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphToPointCloudAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickGraph/Algorithms/TransferGraphFeatureToMeshAlgorithm.h>
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

namespace Tarnwick {

GraphPluginFactory::GraphPluginFactory() : AlgorithmFactory("Graph") {
    // One line per algorithm, in the catalogue order of the header.
    registerAlgorithm<CenterlineGraphExtractionAlgorithm>("CenterlineGraphExtraction",
                                                          "Graph;Centerline Graph Extraction");
    registerAlgorithm<CombineGraphsAlgorithm>("CombineGraphs", "Graph;Combine Graphs");
    registerAlgorithm<ComputeCommonGraphFeaturesAlgorithm>("ComputeFeatures", "Graph;Compute Features");
    registerAlgorithm<PartitionGraphsAlgorithm>("PartitionGraphs", "Graph;Partition Graphs");
    registerAlgorithm<GraphSmoothingAlgorithm>("GraphSmoothing", "Graph;Graph Smoothing");
    registerAlgorithm<GraphToPointCloudAlgorithm>("GraphToPointCloud", "Graph;Extract Point Cloud");
    registerAlgorithm<GraphReindexingAlgorithm>("GraphReindexing", "Graph;Reindex Graph");
    registerAlgorithm<MinimumSpanningTreeAlgorithm>("MinimumSpanningTree", "Graph;Minimum Spanning Tree");
    registerAlgorithm<NodeToEdgeFeatureAlgorithm>("NodeToEdgeFeature", "Graph;Node To Edge Feature");
    registerAlgorithm<PruneTerminalPathsAlgorithm>("PruneTerminalPaths", "Graph;Prune Terminal Paths");
    registerAlgorithm<DrawGraphAlgorithm>("DrawGraphAlgorithm", "Graph;Draw or edit Graph");
    registerAlgorithm<EvaluateGraphAtImageAlgorithm>("EvaluateGraphAtImage", "Graph;Evaluate Graph At Image");
    registerAlgorithm<GraphMLIoAlgorithm>("GraphMLIo", "IO;Graph (graphml)");
    registerAlgorithm<TransferGraphFeatureToMeshAlgorithm>("TransferGraphFeatureToMeshAlgorithm",
                                                           "Graph;Transfer Graph Feature To Mesh");
    registerAlgorithm<GraphToLabelMapAlgorithm>("GraphToLabelMapAlgorithm", "Graph;Graph To Label Map");
}

} // namespace Tarnwick
