#include <TarnwickGL/GL/VersionInfo.h>

#include <epoxy/egl.h>
#include <epoxy/gl.h>
#include <fmt/format.h>

#include <cstdio>
#include <dlfcn.h>

namespace Tarnwick::GL {

bool VersionInfo::atLeast(int wantedMajor, int wantedMinor) const {
    return major > wantedMajor || (major == wantedMajor && minor >= wantedMinor);
}

std::string VersionInfo::text() const {
    if (major == 0)
        return "no OpenGL context";
    return fmt::format("OpenGL {}.{} ({}; {}; {})", major, minor, version, vendor, renderer);
}

bool hasCurrentContext() {
    if (epoxy_has_egl() && eglGetCurrentContext() != EGL_NO_CONTEXT)
        return true;
    // A GLX context (desktop views) can only be current when the process already loaded a GLX library.
    using GetCurrentContext = void* (*)();
    const auto glxCurrent = reinterpret_cast<GetCurrentContext>(dlsym(RTLD_DEFAULT, "glXGetCurrentContext"));
    return glxCurrent && glxCurrent() != nullptr;
}

VersionInfo versionInfo() {
    VersionInfo info;
    if (!hasCurrentContext())
        return info;
    const auto text = [](GLenum name) {
        const auto* value = reinterpret_cast<const char*>(glGetString(name));
        return value ? std::string(value) : std::string();
    };
    info.version = text(GL_VERSION);
    info.vendor = text(GL_VENDOR);
    info.renderer = text(GL_RENDERER);
    // GL_MAJOR_VERSION exists from 3.0 on; older contexts report "major.minor..." only in GL_VERSION.
    if (std::sscanf(info.version.c_str(), "%d.%d", &info.major, &info.minor) != 2)
        info.major = info.minor = 0;
    return info;
}

} // namespace Tarnwick::GL
