#pragma once

#include <TarnwickLib/Plugin/PluginManager.h>

#include <string>
#include <vector>

namespace Tarnwick::Cli {

/// What every command works with: the loaded plug-ins and the folders they were searched in.
class CommandContext {
public:
    /// Registers the host's own algorithms and file records, then loads the plug-ins of the default
    /// folder next to the executable (when `useDefaultFolder` is set and the folder exists) and then
    /// those of `pluginFolders`.
    CommandContext(const std::vector<std::string>& pluginFolders, bool useDefaultFolder);

    PluginManager& plugins() { return m_plugins; }
    const std::vector<std::string>& searchedFolders() const { return m_searchedFolders; }

private:
    std::vector<std::string> m_searchedFolders;
    PluginManager m_plugins;
};

} // namespace Tarnwick::Cli
