#include <TarnwickGraph/GUI/GraphControllerTable.h>

#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>
#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphReindexingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickGraph/Algorithms/TransferGraphFeatureToMeshAlgorithm.h>
#include <TarnwickGraph/GUI/DrawGraphController.h>
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/IoController.h>

namespace Tarnwick {

namespace {

template <class T>
bool is(Algorithm* algorithm) {
    return dynamic_cast<T*>(algorithm) != nullptr;
}

/// The host's default controller: no title of its own, with or without the Defaults button.
AlgorithmController* standard(Algorithm* algorithm, bool showDefaultsButton) {
    return new DefaultAlgorithmController(algorithm, {}, showDefaultsButton, false);
}

} // namespace

AlgorithmController* createGraphController(Algorithm* a) {
    if (is<CenterlineGraphExtractionAlgorithm>(a) || is<CombineGraphsAlgorithm>(a))
        return standard(a, false);
    if (is<ComputeCommonGraphFeaturesAlgorithm>(a))
        return standard(a, true);
    if (is<GraphSmoothingAlgorithm>(a) || is<PartitionGraphsAlgorithm>(a))
        return standard(a, false);
    if (is<MinimumSpanningTreeAlgorithm>(a))
        return standard(a, true);
    if (is<NodeToEdgeFeatureAlgorithm>(a) || is<PruneTerminalPathsAlgorithm>(a) || is<GraphReindexingAlgorithm>(a))
        return standard(a, false);
    if (auto* draw = dynamic_cast<DrawGraphAlgorithm*>(a))
        return new DrawGraphController(draw);
    if (is<EvaluateGraphAtImageAlgorithm>(a))
        return standard(a, false);
    if (auto* graphML = dynamic_cast<GraphMLIoAlgorithm*>(a))
        return new IoController(graphML, true, false);
    // The mesh transfer has no controller of its own: its parameters are all it needs.
    if (is<TransferGraphFeatureToMeshAlgorithm>(a))
        return standard(a, false);
    if (is<GraphToLabelMapAlgorithm>(a))
        return standard(a, true);
    return nullptr;
}

} // namespace Tarnwick
