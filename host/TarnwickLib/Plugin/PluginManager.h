#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

class PluginBase;

/// Finds, checks, loads, initialises and finally unloads plug-in libraries.
///
/// A plug-in is a library named lib*.so in a plug-in folder that exports `tarnwickPluginId`
/// (function returning the id), `tarnwickPluginDescriptor` (a `const char*` variable holding the
/// descriptor string) and `tarnwickCreatePlugin` (function returning a new PluginBase). A library is
/// loaded only when all three exist, the descriptor is compatible with this host (PluginDescriptor),
/// its id is not taken (by another loaded plug-in or by one linked into the application) and
/// init() returns 0; plug-ins are initialised after the plug-ins they depend on. Every refusal is
/// logged as a warning "Skipping plug-in '<path>': <reason>" and kept for listings.
///
/// Unloading (unloadAll() or the destructor) runs in reverse order of initialisation: the
/// plug-in's factories leave the FactoryRegistry, the file plug-ins it registered during init()
/// leave TarnwickFile, the plug-in object is destroyed, and only then is its library closed.
class PluginManager {
public:
    struct LoadedPlugin {
        std::string id;
        std::string path;
        std::string description;
        std::string author;
        std::string pluginVersion;
    };
    struct RefusedPlugin {
        std::string path;
        std::string reason;
    };

    PluginManager();
    ~PluginManager();
    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

    /// The application's main object, handed to each plug-in before its init(); null by default.
    void setApplicationController(void* controller) { m_applicationController = controller; }

    /// The folder "plugins" next to the running executable.
    static std::string defaultPluginFolder();

    /// Loads every lib*.so of each folder (a folder's files in name order, folders in the order
    /// given). A folder that does not exist is reported with a warning.
    void loadFolders(const std::vector<std::string>& folders);
    /// Loads the given libraries as one batch (dependencies among them are honoured).
    void loadLibraries(const std::vector<std::string>& paths);
    void unloadAll();

    /// Initialised plug-ins, in initialisation order.
    std::vector<LoadedPlugin> loadedPlugins() const;
    /// Libraries that were refused, in the order they were examined.
    const std::vector<RefusedPlugin>& refusedPlugins() const { return m_refused; }
    /// The loaded plug-in with this id, or null.
    PluginBase* plugin(const std::string& id) const;
    /// An exported symbol of the loaded plug-in with this id (its extra C entry points), or null when
    /// that plug-in is not loaded or exports no such symbol.
    void* symbol(const std::string& id, const char* name) const;

private:
    struct Entry;
    std::unique_ptr<Entry> open(const std::string& path);
    bool initialize(Entry& entry);
    void refuse(const std::string& path, const std::string& reason);

    std::vector<std::unique_ptr<Entry>> m_loaded;
    std::vector<RefusedPlugin> m_refused;
    void* m_applicationController = nullptr;
};

} // namespace Tarnwick
