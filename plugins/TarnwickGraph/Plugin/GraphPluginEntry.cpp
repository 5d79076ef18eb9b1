// The three unmangled entry points through which the host finds and creates the graph plug-in, and
// the announcement that tells the host the plug-in's code is in the process.
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickLib/Plugin/HostVersion.h>
#include <TarnwickLib/Plugin/PluginAutoRegistrationGuard.h>

/// A new plug-in object with empty factory slots; the host owns it.
TARNWICK_PLUGIN_EXPORT Tarnwick::PluginBase* tarnwickCreatePlugin() {
    return new Tarnwick::GraphPlugin();
}

TARNWICK_PLUGIN_EXPORT const char* tarnwickPluginId() {
    return Tarnwick::GraphPlugin::pluginId;
}

/// Checked by the host before loading: magic, host version, build flags and an empty plug-in version.
extern "C" {
__attribute__((visibility("default"))) const char* tarnwickPluginDescriptor = TARNWICK_PLUGIN_DESCRIPTOR;
}

static Tarnwick::PluginAutoRegistrationGuard announcement(&tarnwickPluginId);
