#include <TarnwickGraph/Plugin/GraphPluginControllerFactory.h>

namespace Tarnwick {

GraphPluginControllerFactory::GraphPluginControllerFactory() : AlgorithmControllerFactory("Graph") {}

AlgorithmController* GraphPluginControllerFactory::create(Algorithm*) const {
    return nullptr;
}

} // namespace Tarnwick
