#include "PluginsCommand.h"

#include "CommandContext.h"

#include <CLI/App.hpp>
#include <fmt/format.h>

namespace Tarnwick::Cli {

CLI::App* PluginsCommand::declare(CLI::App& app) {
    return app.add_subcommand("plugins", "List the plug-ins that were loaded and those that were refused");
}

int PluginsCommand::run(CommandContext& context) {
    const auto& folders = context.searchedFolders();
    fmt::print("Plug-in folders searched:{}\n", folders.empty() ? " none" : "");
    for (const std::string& folder : folders)
        fmt::print("  {}\n", folder);

    const auto loaded = context.plugins().loadedPlugins();
    fmt::print("Loaded plug-ins:{}\n", loaded.empty() ? " none" : "");
    for (const auto& plugin : loaded) {
        const std::string version = plugin.pluginVersion.empty() ? "" : " " + plugin.pluginVersion;
        fmt::print("  {}{}: {} (by {})\n    {}\n", plugin.id, version, plugin.description, plugin.author, plugin.path);
    }

    const auto& refused = context.plugins().refusedPlugins();
    fmt::print("Refused plug-ins:{}\n", refused.empty() ? " none" : "");
    for (const auto& library : refused)
        fmt::print("  {}\n    {}\n", library.path, library.reason);
    return 0;
}

} // namespace Tarnwick::Cli
