#pragma once

namespace Tarnwick {

/// Base of the user interfaces the host shows for a running algorithm. The GUI layer derives its
/// controllers (and QWidget) from it; the library itself only creates and destroys them.
class AlgorithmController {
public:
    virtual ~AlgorithmController() = default;
};

} // namespace Tarnwick
