#include "HostCalls.h"

#include "CallLog.h"
#include "PythonLogSink.h"

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Algorithm/ParameterSettings.h>
#include <TarnwickLib/Algorithm/ParameterText.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace py = pybind11;

namespace Tarnwick::Python::HostCalls {

namespace {

PluginManager& pluginManager() {
    static PluginManager manager;
    return manager;
}

std::vector<DataPtr> shared(OwningDataList list) {
    std::vector<DataPtr> result;
    for (auto& item : list.release())
        result.push_back(std::move(item));
    return result;
}

DataList view(const std::vector<DataPtr>& data) {
    DataList list;
    for (const DataPtr& item : data) {
        if (!item)
            throw std::invalid_argument("None is not a data set");
        list.add(item.get());
    }
    return list;
}

void addParameters(const Configurable& configurable, const std::string& prefix, py::list& rows) {
    for (ParameterBase* parameter : configurable.parameters()) {
        if (const Configurable* group = parameter->group()) {
            addParameters(*group, prefix + parameter->name() + "/", rows);
            continue;
        }
        py::list values;
        if (parameter->typeName() == "enum")
            for (const std::string& label : ParameterText::enumLabels(parameter->attribute("values")))
                values.append(label);
        py::dict row;
        row["name"] = prefix + parameter->name();
        row["type"] = parameter->typeName();
        row["default"] = parameter->defaultToString();
        row["label"] = parameter->label();
        row["values"] = values;
        rows.append(row);
    }
}

} // namespace

std::pair<std::vector<std::string>, std::vector<std::string>> initialize(const std::vector<std::string>& folders) {
    static bool initialized = false;
    CallLog log;
    PluginManager& manager = pluginManager();
    if (!initialized) {
        initialized = true;
        registerHostAlgorithms();
        manager.loadFolders(folders);
    }
    std::vector<std::string> loaded, refused;
    for (const auto& plugin : manager.loadedPlugins())
        loaded.push_back(plugin.id);
    for (const auto& refusal : manager.refusedPlugins())
        refused.push_back(refusal.path + ": " + refusal.reason);
    return {loaded, refused};
}

void shutdown() {
    PythonLogSink::uninstall();
    pluginManager().unloadAll();
}

std::vector<DataPtr> load(const std::string& path) {
    CallLog log;
    std::optional<OwningDataList> loaded;
    {
        py::gil_scoped_release release;
        loaded = DataFileIO::load(path);
    }
    if (!loaded)
        throw FileError(log.problems("Cannot load '" + path + "'"));
    return shared(std::move(*loaded));
}

void save(const std::string& path, const std::vector<DataPtr>& data) {
    CallLog log;
    const DataList list = view(data);
    bool saved = false;
    {
        py::gil_scoped_release release;
        saved = DataFileIO::save(path, list);
    }
    if (!saved)
        throw FileError(log.problems("Cannot save '" + path + "'"));
}

py::list algorithms() {
    CallLog log;
    py::list result;
    for (const auto& info : FactoryRegistry::get().algorithms()) {
        py::dict entry;
        entry["id"] = info.id;
        entry["name"] = info.menuName;
        entry["factory"] = info.factoryName;
        entry["parameters"] = py::none();
        if (const auto sample = FactoryRegistry::createSample(info)) {
            py::list parameters;
            addParameters(*sample, "", parameters);
            entry["parameters"] = parameters;
        }
        result.append(entry);
    }
    return result;
}

namespace {

/// Creates algorithm `id` on `inputs`; ValueError (invalid_argument) naming the problem otherwise.
std::unique_ptr<Algorithm> create(const std::string& id, const std::vector<DataPtr>& inputs, const CallLog& log) {
    const FactoryRegistry& registry = FactoryRegistry::get();
    const auto info = registry.findAlgorithm(id);
    if (!info) {
        std::vector<std::string> ids;
        for (const auto& known : registry.algorithms())
            ids.push_back(known.id);
        throw std::invalid_argument(
            fmt::format("Unknown algorithm '{}'; the algorithms are: {}", id, fmt::join(ids, ", ")));
    }
    const DataList inputList = view(inputs);
    if (!info->factory->isCompatible(id, inputList)) {
        std::string given;
        for (const Data* data : inputList)
            given += fmt::format("\n  {}", registry.describe(*data));
        throw std::invalid_argument(fmt::format("{} ({}) does not accept {}{}", id, info->menuName,
                                                inputs.empty() ? "an empty input" : "these inputs:", given));
    }
    std::unique_ptr<Algorithm> algorithm = info->factory->create(id, inputList);
    if (!algorithm)
        throw std::invalid_argument(log.problems(id + " could not be created on these inputs"));
    return algorithm;
}

} // namespace

py::list parameters(const std::string& id, const std::vector<DataPtr>& inputs) {
    CallLog log;
    py::list rows;
    addParameters(*create(id, inputs, log), "", rows);
    return rows;
}

std::vector<DataPtr> run(const std::string& id, const std::vector<DataPtr>& inputs,
                         const std::vector<std::pair<std::string, std::string>>& settings) {
    CallLog log;
    std::unique_ptr<Algorithm> algorithm = create(id, inputs, log);
    if (const auto error = ParameterSettings::apply(*algorithm, id, settings))
        throw std::invalid_argument(*error);

    std::string thrown;
    {
        py::gil_scoped_release release;
        try {
            algorithm->compute();
        } catch (const std::exception& exception) {
            thrown = exception.what();
        }
    }
    const int status = thrown.empty() ? algorithm->status() : Algorithm::Error;
    if (status != Algorithm::Success)
        throw std::runtime_error(fmt::format("{} failed with status {} ({}): {}", id, status, Algorithm::statusText(status),
                                             thrown.empty() ? log.problems("no reason was logged") : thrown));
    return shared(algorithm->takeOutput());
}

} // namespace Tarnwick::Python::HostCalls
