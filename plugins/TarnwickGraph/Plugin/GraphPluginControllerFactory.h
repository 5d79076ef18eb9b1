#pragma once

#include <TarnwickLib/Algorithm/AlgorithmControllerFactory.h>

namespace Tarnwick {

/// Chooses the user interface of each graph algorithm by its run-time type. The controllers are Qt
/// widgets, so the table of controllers (default algorithm controllers, the I/O controller for
/// GraphML, the drawing controller) belongs to the plug-in's GUI layer and is added with it. In a
/// build without that layer every algorithm runs from its parameters alone and create() returns null.
class GraphPluginControllerFactory : public AlgorithmControllerFactory {
public:
    GraphPluginControllerFactory();

    /// No controller in this build: always null.
    AlgorithmController* create(Algorithm* algorithm) const override;
};

} // namespace Tarnwick
