#include "AlgorithmsCommand.h"

#include "CommandContext.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <algorithm>

namespace Tarnwick::Cli {

namespace {

using Row = std::vector<std::string>;

// Prints rows as left-aligned columns under `indent`; the last column is not padded.
void printTable(const std::vector<Row>& rows, const std::string& indent) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (const Row& row : rows) {
        std::string line = indent;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += i + 1 < row.size() ? fmt::format("{:<{}}  ", row[i], widths[i]) : row[i];
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        fmt::print("{}\n", line);
    }
}

std::string quotedIfNeeded(const std::string& text) {
    const bool plain = !text.empty() && text.find_first_of(" ,\"=") == std::string::npos;
    return plain ? text : "\"" + text + "\"";
}

// One row per parameter (members of sub-properties as "group/member"): name, type, default, label, attributes.
void collectParameters(const Configurable& configurable, const std::string& prefix, std::vector<Row>& rows) {
    for (ParameterBase* parameter : configurable.parameters()) {
        if (const Configurable* group = parameter->group()) {
            collectParameters(*group, prefix + parameter->name() + "/", rows);
            continue;
        }
        std::string attributes;
        for (const auto& [name, value] : parameter->attributes())
            attributes += (attributes.empty() ? "" : " ") + name + "=" + quotedIfNeeded(value);
        rows.push_back({prefix + parameter->name(), parameter->typeName(), quotedIfNeeded(parameter->defaultToString()),
                        quotedIfNeeded(parameter->label()), attributes});
    }
}

void printDetails(const FactoryRegistry::AlgorithmInfo& info) {
    fmt::print("{}  ({}; factory '{}'{})\n", info.id, info.menuName, info.factoryName,
               info.flags ? fmt::format("; flags {}", info.flags) : "");
    const AlgorithmFactory::Entry* entry = info.factory->entry(info.id);
    for (const Properties& preset : entry->presets)
        fmt::print("  preset '{}'\n", preset.name());
    const auto sample = FactoryRegistry::createSample(info);
    if (!sample) {
        fmt::print("  (parameters are known once it is created on input data)\n");
        return;
    }
    std::vector<Row> rows{{"parameter", "type", "default", "label", "attributes"}};
    collectParameters(*sample, "", rows);
    if (rows.size() == 1)
        fmt::print("  (no parameters)\n");
    else
        printTable(rows, "  ");
}

} // namespace

CLI::App* AlgorithmsCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("algorithms", "List the algorithms the loaded plug-ins provide");
    command->add_flag("-v,--verbose", m_verbose, "Also list each algorithm's parameters");
    return command;
}

int AlgorithmsCommand::run(CommandContext&) {
    const auto algorithms = FactoryRegistry::get().algorithms();
    if (!m_verbose) {
        std::vector<Row> rows{{"identifier", "menu name"}};
        for (const auto& info : algorithms)
            rows.push_back({info.id, info.menuName});
        printTable(rows, "");
        return 0;
    }
    for (std::size_t i = 0; i < algorithms.size(); ++i) {
        if (i > 0)
            fmt::print("\n");
        printDetails(algorithms[i]);
    }
    return 0;
}

} // namespace Tarnwick::Cli
