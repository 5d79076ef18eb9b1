#pragma once

#include "DataStore.h"

#include <TarnwickLib/IO/Workspace.h>

#include <string>

namespace Tarnwick::Cli {

/// Executes a workspace file: loads its data files, runs its steps in order and saves the named
/// results, printing each step's outcome and the total time. Stops at the first failure.
class WorkspaceRun {
public:
    /// Returns the exit code: 0 on success, 1 when a file or step failed, 2 when the workspace file
    /// cannot be read or names an unknown algorithm or parameter.
    int run(const std::string& path);

private:
    int execute(const Workspace& workspace);

    DataStore m_store;
    Workspace::Bindings m_names;
};

} // namespace Tarnwick::Cli
