#pragma once

#include <string>

namespace Tarnwick::GL {

/// Version and identification of an OpenGL context.
struct VersionInfo {
    int major = 0;
    int minor = 0;
    std::string version;  ///< GL_VERSION
    std::string vendor;   ///< GL_VENDOR
    std::string renderer; ///< GL_RENDERER

    /// True when the version is at least major.minor (false for the zero version).
    bool atLeast(int major, int minor) const;
    /// "OpenGL <major>.<minor> (<version>; <vendor>; <renderer>)", or "no OpenGL context" when zero.
    std::string text() const;
};

/// True when some OpenGL context (EGL or GLX) is current on the calling thread.
bool hasCurrentContext();

/// The version of the context current on the calling thread; all zeros and empty when none is current.
VersionInfo versionInfo();

} // namespace Tarnwick::GL
