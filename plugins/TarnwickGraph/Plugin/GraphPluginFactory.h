#pragma once

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

namespace Tarnwick {

/// The graph plug-in's algorithm catalogue, the factory named "Graph". Identifiers and menu names
/// are stored in workspace files and scripts, so they never change. The catalogue, in its order:
///
///   #   identifier                             menu name
///   1   CenterlineGraphExtraction              Graph;Centerline Graph Extraction
///   2   CombineGraphs                          Graph;Combine Graphs
///   3   ComputeFeatures                        Graph;Compute Features
///   4   PartitionGraphs                        Graph;Partition Graphs
///   5   GraphSmoothing                         Graph;Graph Smoothing
///   6   GraphToPointCloud                      Graph;Extract Point Cloud
///   7   GraphReindexing                        Graph;Reindex Graph
///   8   MinimumSpanningTree                    Graph;Minimum Spanning Tree
///   9   NodeToEdgeFeature                      Graph;Node To Edge Feature
///   10  PruneTerminalPaths                     Graph;Prune Terminal Paths
///   11  DrawGraphAlgorithm                     Graph;Draw or edit Graph
///   12  EvaluateGraphAtImage                   Graph;Evaluate Graph At Image
///   13  GraphMLIo                              IO;Graph (graphml)
///   14  TransferGraphFeatureToMeshAlgorithm    Graph;Transfer Graph Feature To Mesh
///   15  GraphToLabelMapAlgorithm               Graph;Graph To Label Map
///
/// Every registration passes no flags and no presets; the host's registration template installs each
/// class's own createCompatible test.
class GraphPluginFactory : public AlgorithmFactory {
public:
    /// Registers the algorithms of the catalogue in catalogue order.
    GraphPluginFactory();
};

} // namespace Tarnwick
