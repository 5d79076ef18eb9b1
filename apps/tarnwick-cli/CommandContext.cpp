#include "CommandContext.h"

#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>

#include <filesystem>

namespace Tarnwick::Cli {

CommandContext::CommandContext(const std::vector<std::string>& pluginFolders, bool useDefaultFolder) {
    registerHostAlgorithms();
    const std::string defaultFolder = PluginManager::defaultPluginFolder();
    std::error_code error;
    if (useDefaultFolder && std::filesystem::is_directory(defaultFolder, error))
        m_searchedFolders.push_back(defaultFolder);
    m_searchedFolders.insert(m_searchedFolders.end(), pluginFolders.begin(), pluginFolders.end());
    m_plugins.loadFolders(m_searchedFolders);
}

} // namespace Tarnwick::Cli
