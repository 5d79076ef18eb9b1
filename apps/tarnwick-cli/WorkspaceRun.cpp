#include "WorkspaceRun.h"

#include "AlgorithmRun.h"

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/IO/Workspace.h>

#include <fmt/format.h>

#include <filesystem>

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
    // Unknown algorithms are reported before anything is loaded or computed.
    for (std::size_t i = 0; i < workspace->steps.size(); ++i) {
        if (!FactoryRegistry::get().findAlgorithm(workspace->steps[i].algorithm)) {
            TW_LOG_ERROR("Cannot run workspace '{}': steps[{}] names the unknown algorithm '{}'", path, i,
                         workspace->steps[i].algorithm);
            return refused;
        }
    }
    // The folders of the saved files are made first, so that a run never fails at its very end.
    for (const auto& target : workspace->save) {
        const std::filesystem::path folder = std::filesystem::path(target.path).parent_path();
        std::error_code code;
        if (!folder.empty() && !std::filesystem::is_directory(folder, code) &&
            !std::filesystem::create_directories(folder, code)) {
            TW_LOG_ERROR("Cannot run workspace '{}': cannot create the folder '{}' for '{}': {}", path, folder.string(),
                         target.path, code.message());
            return refused;
        }
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
        m_names[file.name] = *loaded;
    }
    for (std::size_t i = 0; i < workspace.steps.size(); ++i) {
        const Workspace::Step& step = workspace.steps[i];
        fmt::print("Step {} of {}: {}\n", i + 1, workspace.steps.size(), step.algorithm);
        AlgorithmRun run;
        if (!run.create(step.algorithm, named(step.inputs)) || !run.configure(step.parameters))
            return refused;
        if (!run.compute())
            return failed;
        const DataList outputs = m_store.adopt(run.takeOutput());
        if (step.outputs.size() > outputs.size()) {
            TW_LOG_ERROR("steps[{}]: {} produced {} data sets but {} output names are given", i, step.algorithm,
                         outputs.size(), step.outputs.size());
            return failed;
        }
        for (std::size_t j = 0; j < step.outputs.size(); ++j)
            m_names[step.outputs[j]] = DataList{outputs[j]};
    }
    for (const auto& target : workspace.save)
        if (!DataStore::save(target.path, m_names.at(target.name)))
            return failed;
    return 0;
}

DataList WorkspaceRun::named(const std::vector<std::string>& names) const {
    DataList list;
    for (const std::string& name : names)
        for (Data* data : m_names.at(name))
            list.add(data);
    return list;
}

} // namespace Tarnwick::Cli
