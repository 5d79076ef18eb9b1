#pragma once

#include <string>
#include <vector>

namespace Tarnwick {

/// A static object in a plug-in's code that announces the plug-in (by its id function) while that
/// code is in the process: construction adds the id to a process-wide list, destruction withdraws
/// it. The plug-in manager uses the list to recognise a plug-in that is linked into the application
/// itself, so that it does not load and initialise a second copy from a plug-in folder.
///
///     static Tarnwick::PluginAutoRegistrationGuard guard(&tarnwickPluginId);
class PluginAutoRegistrationGuard {
public:
    explicit PluginAutoRegistrationGuard(const char* (*idFunction)());
    ~PluginAutoRegistrationGuard();
    PluginAutoRegistrationGuard(const PluginAutoRegistrationGuard&) = delete;
    PluginAutoRegistrationGuard& operator=(const PluginAutoRegistrationGuard&) = delete;

    /// Ids announced by guards alive now, in announcement order (an id announced twice is listed twice).
    static std::vector<std::string> announcedIds();
    static bool isAnnounced(const std::string& id);

private:
    std::string m_id;
};

} // namespace Tarnwick
