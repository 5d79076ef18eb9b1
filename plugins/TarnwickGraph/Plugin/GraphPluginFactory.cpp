#include <TarnwickGraph/Plugin/GraphPluginFactory.h>

#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

namespace Tarnwick {

GraphPluginFactory::GraphPluginFactory() : AlgorithmFactory("Graph") {
    // One line per algorithm, in the catalogue order of the header; an algorithm is added at its
    // place in the list when its class joins the plug-in.
    registerAlgorithm<GraphMLIoAlgorithm>("GraphMLIo", "IO;Graph (graphml)");
}

} // namespace Tarnwick
