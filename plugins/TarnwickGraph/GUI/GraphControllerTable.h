#pragma once

namespace Tarnwick {

class Algorithm;
class AlgorithmController;

/// The controller of each catalogue algorithm in the desktop application (owned by the caller), tested
/// by run-time type in catalogue order; null for algorithms without one of the plug-in's (the
/// point-cloud extraction), which then get the host's default controller.
AlgorithmController* createGraphController(Algorithm* algorithm);

} // namespace Tarnwick
