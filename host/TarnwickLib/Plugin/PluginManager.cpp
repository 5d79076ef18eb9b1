#include <TarnwickLib/Plugin/PluginManager.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/IO/TarnwickFile.h>
#include <TarnwickLib/Plugin/PluginAutoRegistrationGuard.h>
#include <TarnwickLib/Plugin/PluginBase.h>
#include <TarnwickLib/Plugin/PluginDescriptor.h>
#include <TarnwickLib/Plugin/SharedLibrary.h>
#include <TarnwickLib/Plugin/TarnwickLibPlugin.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>

namespace Tarnwick {

namespace fs = std::filesystem;

namespace {

const char* const category = "PluginManager";
// Texts read from a library are cut at these lengths, so a missing terminator cannot run away.
constexpr std::size_t maxDescriptorLength = 4096;
constexpr std::size_t maxIdLength = 256;

// Ids of plug-ins opened by any manager of this process: an id announced by a guard but never
// opened here belongs to a plug-in linked into the application.
std::set<std::string>& idsOpenedByManagers() {
    static std::set<std::string> ids;
    return ids;
}

bool contains(const std::vector<std::string>& list, const std::string& item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

} // namespace

struct PluginManager::Entry {
    LoadedPlugin info;
    std::vector<std::string> dependencies;
    std::unique_ptr<SharedLibrary> library;
    std::unique_ptr<PluginBase> plugin;
    std::vector<const TarnwickFilePlugin*> filePlugins; ///< registered by the plug-in's init()

    ~Entry() { release(); }

    // Withdraws what the plug-in registered, destroys it, then closes its library.
    void release() {
        if (auto* libraryPlugin = dynamic_cast<TarnwickLibPlugin*>(plugin.get()))
            libraryPlugin->unregisterFactories();
        for (const TarnwickFilePlugin* filePlugin : filePlugins)
            TarnwickFile::removePlugin(filePlugin);
        filePlugins.clear();
        plugin.reset();
        library.reset();
    }
};

PluginManager::PluginManager() = default;

PluginManager::~PluginManager() {
    unloadAll();
}

std::string PluginManager::defaultPluginFolder() {
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string("plugins") : (executable.parent_path() / "plugins").string();
}

void PluginManager::loadFolders(const std::vector<std::string>& folders) {
    std::vector<std::string> paths;
    for (const std::string& folder : folders) {
        std::error_code error;
        if (!fs::is_directory(folder, error)) {
            TW_LOG_CAT_WARN(category, "Plug-in folder '{}' does not exist", folder);
            continue;
        }
        std::vector<std::string> libraries;
        for (const auto& item : fs::directory_iterator(folder, error)) {
            const std::string name = item.path().filename().string();
            if (name.size() > 6 && name.compare(0, 3, "lib") == 0 && name.compare(name.size() - 3, 3, ".so") == 0 &&
                item.is_regular_file(error))
                libraries.push_back(item.path().string());
        }
        std::sort(libraries.begin(), libraries.end());
        paths.insert(paths.end(), libraries.begin(), libraries.end());
    }
    loadLibraries(paths);
}

void PluginManager::loadLibraries(const std::vector<std::string>& paths) {
    std::vector<std::unique_ptr<Entry>> pending;
    for (const std::string& path : paths) {
        auto entry = open(path);
        if (!entry)
            continue;
        auto sameId = std::find_if(pending.begin(), pending.end(),
                                   [&](const auto& other) { return other->info.id == entry->info.id; });
        if (sameId != pending.end()) {
            refuse(path, "plug-in id '" + entry->info.id + "' is already used by '" + (*sameId)->info.path + "'");
            continue;
        }
        pending.push_back(std::move(entry));
    }

    // Initialise every plug-in whose dependencies are loaded until no more can be.
    for (bool progressed = true; progressed;) {
        progressed = false;
        for (auto it = pending.begin(); it != pending.end();) {
            const auto& dependencies = (*it)->dependencies;
            if (!std::all_of(dependencies.begin(), dependencies.end(), [&](const auto& id) { return plugin(id); })) {
                ++it;
                continue;
            }
            std::unique_ptr<Entry> entry = std::move(*it);
            it = pending.erase(it);
            progressed = true;
            if (initialize(*entry))
                m_loaded.push_back(std::move(entry));
        }
    }
    for (const auto& entry : pending) {
        const auto& dependencies = entry->dependencies;
        auto missing =
            std::find_if(dependencies.begin(), dependencies.end(), [&](const auto& id) { return !plugin(id); });
        refuse(entry->info.path, "missing dependency '" + *missing + "'");
    }
}

void PluginManager::unloadAll() {
    while (!m_loaded.empty()) {
        const std::string id = m_loaded.back()->info.id;
        m_loaded.back()->release();
        m_loaded.pop_back();
        TW_LOG(Log::Debug, category, "Unloaded plug-in '{}'", id);
    }
}

std::vector<PluginManager::LoadedPlugin> PluginManager::loadedPlugins() const {
    std::vector<LoadedPlugin> result;
    for (const auto& entry : m_loaded)
        result.push_back(entry->info);
    return result;
}

PluginBase* PluginManager::plugin(const std::string& id) const {
    for (const auto& entry : m_loaded)
        if (entry->info.id == id)
            return entry->plugin.get();
    return nullptr;
}

void* PluginManager::symbol(const std::string& id, const char* name) const {
    for (const auto& entry : m_loaded)
        if (entry->info.id == id)
            return entry->library->symbol(name);
    return nullptr;
}

std::unique_ptr<PluginManager::Entry> PluginManager::open(const std::string& path) {
    const std::vector<std::string> announcedBefore = PluginAutoRegistrationGuard::announcedIds();
    auto entry = std::make_unique<Entry>();
    entry->info.path = path;
    std::string error;
    entry->library = SharedLibrary::open(path, error);
    if (!entry->library) {
        refuse(path, "cannot open the library: " + error);
        return nullptr;
    }

    void* idSymbol = entry->library->symbol("tarnwickPluginId");
    void* descriptorSymbol = entry->library->symbol("tarnwickPluginDescriptor");
    void* createSymbol = entry->library->symbol("tarnwickCreatePlugin");
    for (auto [symbol, name] :
         {std::pair{idSymbol, "tarnwickPluginId"}, std::pair{descriptorSymbol, "tarnwickPluginDescriptor"},
          std::pair{createSymbol, "tarnwickCreatePlugin"}}) {
        if (!symbol) {
            refuse(path, std::string("missing symbol ") + name);
            return nullptr;
        }
    }
    const char* descriptorText = *static_cast<const char* const*>(descriptorSymbol);
    if (!descriptorText) {
        refuse(path, "its descriptor is empty");
        return nullptr;
    }
    const PluginDescriptor descriptor =
        PluginDescriptor::parse(std::string(descriptorText, strnlen(descriptorText, maxDescriptorLength)));
    if (auto reason = descriptor.incompatibility()) {
        refuse(path, *reason);
        return nullptr;
    }

    try {
        const char* idText = reinterpret_cast<PluginBase::IdFunction>(idSymbol)();
        const std::string id = idText ? std::string(idText, strnlen(idText, maxIdLength)) : std::string();
        if (id.empty()) {
            refuse(path, "its id is empty");
            return nullptr;
        }
        if (plugin(id)) {
            refuse(path, "plug-in id '" + id + "' is already loaded");
            return nullptr;
        }
        if (contains(announcedBefore, id) && !idsOpenedByManagers().count(id)) {
            refuse(path, "plug-in '" + id + "' is already part of the application");
            return nullptr;
        }
        idsOpenedByManagers().insert(id);
        entry->plugin.reset(reinterpret_cast<PluginBase::CreateFunction>(createSymbol)());
        if (!entry->plugin) {
            refuse(path, "tarnwickCreatePlugin returned no plug-in");
            return nullptr;
        }
        if (entry->plugin->id() != id) {
            refuse(path, "its plug-in object's id '" + entry->plugin->id() + "' differs from '" + id + "'");
            return nullptr;
        }
        entry->info = {id, path, entry->plugin->description(), entry->plugin->author(), descriptor.pluginVersion};
        entry->dependencies = entry->plugin->dependencies();
    } catch (const std::exception& e) {
        refuse(path, std::string("it failed while being opened: ") + e.what());
        return nullptr;
    }
    return entry;
}

bool PluginManager::initialize(Entry& entry) {
    const std::vector<TarnwickFilePlugin*> before = TarnwickFile::plugins();
    int result = 0;
    std::string failure;
    try {
        entry.plugin->setApplicationController(m_applicationController);
        result = entry.plugin->init();
    } catch (const std::exception& e) {
        failure = std::string("init() failed: ") + e.what();
    }
    for (const TarnwickFilePlugin* filePlugin : TarnwickFile::plugins())
        if (std::find(before.begin(), before.end(), filePlugin) == before.end())
            entry.filePlugins.push_back(filePlugin);
    if (failure.empty() && result != 0)
        failure = "init() returned " + std::to_string(result);
    if (!failure.empty()) {
        refuse(entry.info.path, failure);
        entry.release();
        return false;
    }
    TW_LOG(Log::Debug, category, "Loaded plug-in '{}' from '{}'", entry.info.id, entry.info.path);
    return true;
}

void PluginManager::refuse(const std::string& path, const std::string& reason) {
    TW_LOG_CAT_WARN(category, "Skipping plug-in '{}': {}", path, reason);
    m_refused.push_back({path, reason});
}

} // namespace Tarnwick
