// tarnwick-cli: runs the host's algorithms and file conversions without a window. Global options
// (log level, plug-in folders) are handled here; each subcommand is a Command class in a source
// file of its own.
#include "AlgorithmsCommand.h"
#include "CommandContext.h"
#include "ExtractCommand.h"
#include "InfoCommand.h"
#include "PluginsCommand.h"
#ifdef TARNWICK_WITH_GL
#include "RenderCommand.h"
#endif
#include "RunCommand.h"
#include "SampleCommand.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Plugin/HostVersion.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

using namespace Tarnwick;

int main(int argc, char** argv) {
    CLI::App app{"Turns vessel segmentations into spatial graphs and works with them.", "tarnwick-cli"};
    app.set_version_flag("--version", std::string("tarnwick-cli ") + HostVersion::version);
    app.require_subcommand(0, 1); // at most one; a missing one is reported after parsing, so that
                                  // unknown words are named first

    int logLevel = Log::Info;
    std::vector<std::string> pluginFolders;
    bool noDefaultPlugins = false;
    app.add_option("--log-level", logLevel, "Messages shown: 0 trace, 1 debug, 2 info, 3 warning, 4 error, 5 fatal")
        ->check(CLI::Range(0, 5))
        ->capture_default_str();
    app.add_option("--plugin-dir", pluginFolders, "Also load the plug-ins of this folder (repeatable)")
        ->check(CLI::ExistingDirectory)
        ->allow_extra_args(false);
    app.add_flag("--no-default-plugins", noDefaultPlugins,
                 "Do not load the plug-ins of the \"plugins\" folder next to the executable");

    std::vector<std::unique_ptr<Cli::Command>> commands;
    commands.push_back(std::make_unique<Cli::PluginsCommand>());
    commands.push_back(std::make_unique<Cli::AlgorithmsCommand>());
    commands.push_back(std::make_unique<Cli::InfoCommand>());
    commands.push_back(std::make_unique<Cli::RunCommand>());
    commands.push_back(std::make_unique<Cli::ExtractCommand>());
    commands.push_back(std::make_unique<Cli::SampleCommand>());
#ifdef TARNWICK_WITH_GL
    commands.push_back(std::make_unique<Cli::RenderCommand>());
#endif
    std::vector<CLI::App*> subcommands;
    for (const auto& command : commands)
        subcommands.push_back(command->declare(app));

    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty())
            throw CLI::RequiredError("A subcommand");
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    Log::setGlobalLevel(logLevel);

    Cli::CommandContext context(pluginFolders, !noDefaultPlugins);
    for (std::size_t i = 0; i < commands.size(); ++i)
        if (subcommands[i]->parsed())
            return commands[i]->run(context);
    return 1; // unreachable: one subcommand was parsed
}
