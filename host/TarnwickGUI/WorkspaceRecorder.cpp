#include <TarnwickGUI/WorkspaceRecorder.h>

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Algorithm/ParameterSettings.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>
#include <TarnwickLib/IO/Workspace.h>

#include <nlohmann/json.hpp>

#include <filesystem>

namespace Tarnwick {

namespace {
// Keeps members in insertion order: parameters are applied in the order they are written.
using json = nlohmann::ordered_json;
} // namespace

std::string WorkspaceRecorder::declare(const Data* data) {
    std::string base = data->name().empty() ? std::string("data") : data->name();
    std::string name = base;
    for (int suffix = 2; m_taken.count(name); ++suffix)
        name = base + "_" + std::to_string(suffix);
    m_taken.insert(name);
    m_names[data] = name;
    return name;
}

void WorkspaceRecorder::addFile(const std::string& path, const std::vector<const Data*>& data) {
    if (data.empty())
        return;
    const std::string name = declare(data.front());
    for (const Data* other : data)
        m_names[other] = name;
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    m_files.emplace_back(name, error ? path : absolute.string());
}

bool WorkspaceRecorder::addStep(const Algorithm& algorithm, const std::vector<const Data*>& outputs) {
    Step step;
    step.algorithm = algorithm.factoryInfo().id;
    for (const Data* input : algorithm.factoryInfo().inputs) {
        const auto it = m_names.find(input);
        if (it == m_names.end())
            return false;
        step.inputs.push_back(it->second);
    }
    for (const std::string& name : ParameterSettings::names(algorithm))
        if (const ParameterBase* parameter = algorithm.parameter(name))
            step.parameters.emplace_back(name, parameter->toString());
    for (const Data* output : outputs)
        step.outputs.push_back(declare(output));
    m_steps.push_back(std::move(step));
    return true;
}

void WorkspaceRecorder::forget(const Data* data) {
    m_names.erase(data);
}

std::string WorkspaceRecorder::text() const {
    json root;
    root["tarnwickWorkspace"] = Workspace::formatVersion;
    root["data"] = json::array();
    for (const auto& [name, path] : m_files)
        root["data"].push_back({{"name", name}, {"file", path}});
    root["steps"] = json::array();
    for (const Step& step : m_steps) {
        json node;
        node["algorithm"] = step.algorithm;
        node["inputs"] = step.inputs;
        // Values as text: the workspace reader hands strings to each parameter's own parser.
        node["parameters"] = json::object();
        for (const auto& [name, value] : step.parameters)
            node["parameters"][name] = value;
        if (!step.outputs.empty())
            node["outputs"] = step.outputs;
        root["steps"].push_back(std::move(node));
    }
    return root.dump(2) + "\n";
}

std::optional<std::string> WorkspaceRecorder::save(const std::string& path) const {
    AtomicFileWriter writer(path);
    std::string error;
    if (!writer.open(error))
        return error;
    writer.stream() << text();
    if (!writer.commit(error))
        return error;
    return std::nullopt;
}

} // namespace Tarnwick
