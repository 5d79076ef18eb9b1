#pragma once

#include <string>
#include <vector>

/// Marks the three entry points a plug-in library exports with C linkage and default visibility:
///     TARNWICK_PLUGIN_EXPORT Tarnwick::PluginBase* tarnwickCreatePlugin();
///     TARNWICK_PLUGIN_EXPORT const char* tarnwickPluginId();
///     TARNWICK_PLUGIN_EXPORT const char* tarnwickPluginDescriptor; // = TARNWICK_PLUGIN_DESCRIPTOR
#define TARNWICK_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

namespace Tarnwick {

/// Base of the object a plug-in library creates for the host (`tarnwickCreatePlugin`, owned by the
/// host). The host calls init() once after loading; the plug-in registers what it provides there.
/// The object is destroyed before its library is unloaded.
class PluginBase {
public:
    using CreateFunction = PluginBase* (*)();
    using IdFunction = const char* (*)();

    PluginBase() = default;
    PluginBase(const PluginBase&) = delete;
    PluginBase& operator=(const PluginBase&) = delete;
    virtual ~PluginBase() = default;

    /// Registers the plug-in's factories and file plug-ins; 0 on success, anything else refuses the plug-in.
    virtual int init() = 0;
    /// The same text as the library's `tarnwickPluginId()`, e.g. "Tarnwick.Graph".
    virtual std::string id() const = 0;
    virtual std::string description() const = 0;
    virtual std::string author() const = 0;
    /// Ids of plug-ins that must be initialised before this one; none by default.
    virtual std::vector<std::string> dependencies() const { return {}; }
    /// The application's main object (a desktop window, or null in the command-line tool), handed
    /// over before init().
    virtual void setApplicationController(void* controller) { m_applicationController = controller; }
    void* applicationController() const { return m_applicationController; }

private:
    void* m_applicationController = nullptr;
};

} // namespace Tarnwick
