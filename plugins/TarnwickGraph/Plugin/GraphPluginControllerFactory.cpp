#include <TarnwickGraph/Plugin/GraphPluginControllerFactory.h>

namespace Tarnwick {

namespace {
// A function-local static: the GUI layer installs the table from a static initialiser of its own.
GraphPluginControllerFactory::Table& installedTable() {
    static GraphPluginControllerFactory::Table table = nullptr;
    return table;
}
} // namespace

GraphPluginControllerFactory::GraphPluginControllerFactory() : AlgorithmControllerFactory("Graph") {}

void GraphPluginControllerFactory::setTable(Table table) {
    installedTable() = table;
}

AlgorithmController* GraphPluginControllerFactory::create(Algorithm* algorithm) const {
    const Table table = installedTable();
    return table && algorithm ? table(algorithm) : nullptr;
}

} // namespace Tarnwick
