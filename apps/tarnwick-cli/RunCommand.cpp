#include "RunCommand.h"

#include "AlgorithmRun.h"
#include "DataStore.h"
#include "WorkspaceRun.h"

#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/Log.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <filesystem>

namespace Tarnwick::Cli {

namespace {

constexpr int failed = 1;
constexpr int refused = 2;

/// Splits "name=value" settings; false with the reason logged for one without '='.
bool parseSettings(const std::vector<std::string>& texts, std::vector<AlgorithmRun::Setting>& settings) {
    for (const std::string& text : texts) {
        const auto equals = text.find('=');
        if (equals == std::string::npos || equals == 0) {
            TW_LOG_ERROR("--set expects name=value, got '{}'", text);
            return false;
        }
        settings.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return true;
}

bool isDataFile(const std::string& path) {
    return Filesystem::Path(path).extension() == TarnwickFile::extension;
}

/// Saves `results` to `paths` as RunCommand documents.
bool saveResults(const std::vector<std::string>& paths, const DataList& results) {
    if (paths.size() == 1 && isDataFile(paths[0]))
        return DataStore::save(paths[0], results);
    if (paths.size() > results.size()) {
        TW_LOG_ERROR("{} output paths given but only {} data sets to save", paths.size(), results.size());
        return false;
    }
    bool ok = true;
    for (std::size_t i = 0; i < paths.size(); ++i)
        ok = DataStore::save(paths[i], DataList{results[i]}) && ok;
    return ok;
}

/// Checks before anything runs that the folder of every output exists, so that a run never reports
/// success and then fails on the save; false with the reason logged.
bool outputFoldersExist(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        std::error_code code;
        if (!folder.empty() && !std::filesystem::is_directory(folder, code)) {
            TW_LOG_ERROR("Cannot save '{}': the folder '{}' does not exist", path, folder.string());
            return false;
        }
    }
    return true;
}

} // namespace

CLI::App* RunCommand::declare(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("run", "Run one algorithm on data files, or the pipeline of a workspace file (.tws)");
    command->add_option("target", m_target, "Algorithm identifier (see 'algorithms') or workspace file")->required();
    command->add_option("inputs", m_inputs, "Input files, loaded by their extension");
    command->add_option("--set", m_settings, "Parameter value as name=value (repeatable)")->allow_extra_args(false);
    command->add_option("-o,--output", m_outputs, "Output file, saved by its extension (repeatable)")
        ->allow_extra_args(false);
    return command;
}

int RunCommand::run(CommandContext&) {
    if (Filesystem::Path(m_target).extension() != "tws")
        return runAlgorithm();
    if (!m_inputs.empty() || !m_settings.empty() || !m_outputs.empty()) {
        TW_LOG_ERROR("A workspace names its own inputs, parameters and outputs; give only the .tws file");
        return refused;
    }
    return WorkspaceRun().run(m_target);
}

int RunCommand::runAlgorithm() {
    std::vector<AlgorithmRun::Setting> settings;
    if (!parseSettings(m_settings, settings) || !AlgorithmRun::isKnown(m_target) || !outputFoldersExist(m_outputs))
        return refused;
    DataStore store;
    DataList inputs;
    for (const std::string& path : m_inputs) {
        const std::optional<DataList> loaded = store.load(path);
        if (!loaded)
            return failed;
        for (Data* data : *loaded)
            inputs.add(data);
    }
    AlgorithmRun run;
    if (!run.create(m_target, inputs) || !run.configure(settings))
        return refused;
    if (!run.compute())
        return failed;
    const DataList outputs = store.adopt(run.takeOutput());
    for (std::size_t i = 0; i < outputs.size(); ++i)
        fmt::print("Output {}: {}\n", i + 1, FactoryRegistry::get().describe(*outputs[i]));
    if (m_outputs.empty())
        return 0;
    return saveResults(m_outputs, outputs.empty() ? inputs : outputs) ? 0 : failed;
}

} // namespace Tarnwick::Cli
