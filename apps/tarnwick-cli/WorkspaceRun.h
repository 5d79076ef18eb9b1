#pragma once

#include "DataStore.h"

#include <map>
#include <string>

namespace Tarnwick {
class Workspace;
}

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
    DataList named(const std::vector<std::string>& names) const;

    DataStore m_store;
    std::map<std::string, DataList> m_names;
};

} // namespace Tarnwick::Cli
