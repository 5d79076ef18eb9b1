#include "WorkspaceRun.h"

#include "AlgorithmRun.h"

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/IO/Workspace.h>

#include <fmt/format.h>

namespace Tarnwick::Cli {

namespace {
constexpr int failed = 1;
constexpr int refused = 2;
} // namespace

int WorkspaceRun::run(const std::string& path) {
    std::string error;
    const std::optional<Workspace> workspace = Workspace::load(path, error);
    if (!workspace) {
        TW_LOG_ERROR("Cannot run workspace '{}': {}", path, error);
        return refused;
    }
    if (const std::optional<std::string> reason = workspace->prepare()) {
        TW_LOG_ERROR("Cannot run workspace '{}': {}", path, *reason);
        return refused;
    }
    Timer timer;
    const int code = execute(*workspace);
    fmt::print("Workspace {} {} after {}\n", path, code == 0 ? "finished" : "stopped", timer.formatted());
    return code;
}

int WorkspaceRun::execute(const Workspace& workspace) {
    for (const auto& file : workspace.data) {
        const std::optional<DataList> loaded = m_store.load(file.path);
        if (!loaded)
            return failed;
        m_names.bind(file.name, *loaded);
    }
    for (std::size_t i = 0; i < workspace.steps.size(); ++i) {
        const Workspace::Step& step = workspace.steps[i];
        fmt::print("Step {} of {}: {}\n", i + 1, workspace.steps.size(), step.algorithm);
        AlgorithmRun run;
        if (!run.create(step.algorithm, m_names.resolve(step.inputs)) || !run.configure(step.parameters))
            return refused;
        if (!run.compute())
            return failed;
        const DataList outputs = m_store.adopt(run.takeOutput());
        if (const std::optional<std::string> reason = m_names.bindOutputs(step, outputs.items())) {
            TW_LOG_ERROR("steps[{}]: {}", i, *reason);
            return failed;
        }
    }
    for (const auto& target : workspace.save)
        if (!DataStore::save(target.path, m_names.resolve({target.name})))
            return failed;
    return 0;
}

} // namespace Tarnwick::Cli
