#pragma once

#include <TarnwickLib/Algorithm/AlgorithmControllerFactory.h>

namespace Tarnwick {

/// Chooses the user interface of each graph algorithm by its run-time type. The controllers are Qt
/// widgets, so the table of controllers (default algorithm controllers, the I/O controller for
/// GraphML, the drawing controller) belongs to the plug-in's GUI layer; the plug-in installs it with
/// setTable() in init() when it is built with that layer. In a build without that layer every algorithm runs from its
/// parameters alone and create() returns null.
class GraphPluginControllerFactory : public AlgorithmControllerFactory {
public:
    /// Creates the controller of an algorithm (owned by the caller), or null when it has none.
    using Table = AlgorithmController* (*)(Algorithm* algorithm);

    GraphPluginControllerFactory();

    /// Installs the table of controllers (null removes it).
    static void setTable(Table table);

    /// The table's controller for `algorithm`; null without a table or for an algorithm it does not list.
    AlgorithmController* create(Algorithm* algorithm) const override;
};

} // namespace Tarnwick
