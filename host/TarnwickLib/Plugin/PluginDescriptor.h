#pragma once

#include <optional>
#include <string>

namespace Tarnwick {

/// The fields of a plug-in's descriptor string "magic|hostversion=...|buildflags=...|pluginversion=...".
/// Fields after the magic are key=value pairs in any order; unknown keys are ignored, missing ones
/// stay empty.
struct PluginDescriptor {
    std::string magic;
    std::string hostVersion;
    std::string buildFlags;
    std::string pluginVersion;

    static PluginDescriptor parse(const std::string& text);

    /// Why a plug-in with this descriptor cannot be loaded into this host ("wrong magic ...",
    /// "host version mismatch 4.4.0 vs 4.5.0", "build flag mismatch ..."), or nothing when it can:
    /// the magic matches, the host version's major and minor numbers equal the host's and the build
    /// flags equal the host's.
    std::optional<std::string> incompatibility() const;
};

} // namespace Tarnwick
