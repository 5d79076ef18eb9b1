#include <TarnwickGL/GL/OffscreenContext.h>

#include <TarnwickGL/GL/VersionInfo.h>

#include <epoxy/egl.h>
#include <fmt/format.h>

#include <map>
#include <mutex>
#include <vector>

namespace Tarnwick::GL {

namespace {

// EGL displays are per-process singletons, and eglTerminate destroys every context on them: count the
// contexts per display and terminate it only when the last one goes.
std::mutex displayMutex;
std::map<EGLDisplay, int> displayUsers;

void retainDisplay(EGLDisplay display) {
    const std::lock_guard<std::mutex> lock(displayMutex);
    ++displayUsers[display];
}

void releaseDisplay(EGLDisplay display) {
    const std::lock_guard<std::mutex> lock(displayMutex);
    if (--displayUsers[display] == 0) {
        displayUsers.erase(display);
        eglTerminate(display);
    }
}

std::string eglFailure(const char* step) {
    return fmt::format("{} failed (EGL error 0x{:04X})", step, eglGetError());
}

bool hasClientExtension(const char* extension) {
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    return extensions && epoxy_extension_in_string(extensions, extension);
}

EGLDisplay openDisplay() {
    if (hasClientExtension("EGL_MESA_platform_surfaceless") && hasClientExtension("EGL_EXT_platform_base")) {
        EGLDisplay display = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (display != EGL_NO_DISPLAY)
            return display;
    }
    return eglGetDisplay(EGL_DEFAULT_DISPLAY);
}

} // namespace

struct OffscreenContext::Handles {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface surface = EGL_NO_SURFACE;
    bool initialized = false;

    ~Handles() {
        if (display == EGL_NO_DISPLAY || !initialized)
            return;
        if (eglGetCurrentContext() == context)
            eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context != EGL_NO_CONTEXT)
            eglDestroyContext(display, context);
        if (surface != EGL_NO_SURFACE)
            eglDestroySurface(display, surface);
        releaseDisplay(display);
    }

    // Sets up display, config, context and surface; returns the reason of a failure, empty on success.
    std::string open() {
        if (!epoxy_has_egl())
            return "the EGL library cannot be loaded";
        display = openDisplay();
        if (display == EGL_NO_DISPLAY)
            return eglFailure("eglGetDisplay");
        EGLint major = 0;
        EGLint minor = 0;
        if (!eglInitialize(display, &major, &minor))
            return eglFailure("eglInitialize");
        initialized = true;
        retainDisplay(display);
        if (!eglBindAPI(EGL_OPENGL_API))
            return eglFailure("eglBindAPI(EGL_OPENGL_API)");

        const bool surfaceless = epoxy_has_egl_extension(display, "EGL_KHR_surfaceless_context");
        const EGLint configAttributes[] = {EGL_SURFACE_TYPE,
                                           surfaceless ? 0 : EGL_PBUFFER_BIT,
                                           EGL_RENDERABLE_TYPE,
                                           EGL_OPENGL_BIT,
                                           EGL_RED_SIZE,
                                           8,
                                           EGL_GREEN_SIZE,
                                           8,
                                           EGL_BLUE_SIZE,
                                           8,
                                           EGL_ALPHA_SIZE,
                                           8,
                                           EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (!eglChooseConfig(display, configAttributes, &config, 1, &count))
            return eglFailure("eglChooseConfig");
        if (count < 1)
            return "no EGL configuration renders OpenGL";

        std::string reason;
        for (const EGLint wantedMinor : {5, 3}) {
            const EGLint contextAttributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                                4,
                                                EGL_CONTEXT_MINOR_VERSION,
                                                wantedMinor,
                                                EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                                EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                                EGL_NONE};
            context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
            if (context != EGL_NO_CONTEXT)
                break;
            reason = eglFailure(wantedMinor == 5 ? "eglCreateContext(4.5 core)" : "eglCreateContext(4.3 core)");
        }
        if (context == EGL_NO_CONTEXT)
            return reason;

        if (!surfaceless) {
            const EGLint pbufferAttributes[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
            surface = eglCreatePbufferSurface(display, config, pbufferAttributes);
            if (surface == EGL_NO_SURFACE)
                return eglFailure("eglCreatePbufferSurface");
        }
        if (!eglMakeCurrent(display, surface, surface, context))
            return eglFailure("eglMakeCurrent");
        const VersionInfo version = versionInfo();
        if (!version.atLeast(4, 3))
            return "the context reports " + version.text();
        return {};
    }
};

OffscreenContext::OffscreenContext(std::unique_ptr<Handles> handles) : m_handles(std::move(handles)) {}

OffscreenContext::~OffscreenContext() = default;

std::unique_ptr<OffscreenContext> OffscreenContext::create(std::string* error) {
    auto handles = std::make_unique<Handles>();
    const std::string reason = handles->open();
    if (!reason.empty()) {
        if (error)
            *error = "no OpenGL 4.3 context: " + reason;
        return nullptr;
    }
    return std::make_unique<OffscreenContext>(std::move(handles));
}

bool OffscreenContext::makeCurrent() {
    return eglMakeCurrent(m_handles->display, m_handles->surface, m_handles->surface, m_handles->context);
}

void OffscreenContext::doneCurrent() {
    if (isCurrent())
        eglMakeCurrent(m_handles->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

bool OffscreenContext::isCurrent() const {
    return eglGetCurrentContext() == m_handles->context;
}

} // namespace Tarnwick::GL
