#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

class Algorithm;
class Data;

/// Records what the user did in the desktop application as a workspace (Workspace.h): the files
/// opened and the algorithm steps that succeeded, each with every parameter's value as text, its
/// inputs and its outputs. `tarnwick-cli run` on the written file repeats the session.
///
/// Every data set gets a workspace name, unique within the workspace: its own name, or that name
/// with "_2", "_3", ... appended when it is taken. All data sets of one file share the name of its
/// first one (the workspace passes all of them wherever the name is used).
class WorkspaceRecorder {
public:
    /// A file whose data sets (in file order) were added to the application.
    void addFile(const std::string& path, const std::vector<const Data*>& data);
    /// An algorithm run that succeeded, with its inputs and its outputs (in output order). Returns
    /// false, recording nothing, when an input was not recorded (it came from outside this session).
    bool addStep(const Algorithm& algorithm, const std::vector<const Data*>& outputs);
    /// Forgets a data set that is being destroyed (its name stays taken).
    void forget(const Data* data);

    /// The workspace as JSON text (format version Workspace::formatVersion).
    std::string text() const;
    /// Writes text() to `path`, replacing the file only when the new one was written completely.
    /// Returns the reason on failure.
    std::optional<std::string> save(const std::string& path) const;

private:
    struct Step {
        std::string algorithm;
        std::vector<std::string> inputs;
        std::vector<std::pair<std::string, std::string>> parameters;
        std::vector<std::string> outputs;
    };
    std::string declare(const Data* data);

    std::vector<std::pair<std::string, std::string>> m_files; ///< workspace name, path
    std::vector<Step> m_steps;
    std::map<const Data*, std::string> m_names;
    std::set<std::string> m_taken;
};

} // namespace Tarnwick
