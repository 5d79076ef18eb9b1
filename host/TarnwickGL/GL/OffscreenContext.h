#pragma once

#include <memory>
#include <string>

namespace Tarnwick::GL {

/// A headless OpenGL core-profile context (4.5, else 4.3) through EGL: the surfaceless platform when
/// the EGL library offers it, otherwise the default display with a 1x1 pbuffer when the display cannot
/// make a context current without a surface. GL functions are loaded through libepoxy.
/// The context is current on the creating thread after create(). Destroy GL objects made in this
/// context before the context itself, with the context current.
class OffscreenContext {
public:
    /// Creates the context and makes it current. On failure returns null and, when `error` is given,
    /// sets it to "no OpenGL 4.3 context: <reason>". Never throws.
    static std::unique_ptr<OffscreenContext> create(std::string* error);

    struct Handles;
    /// Takes over the EGL objects set up by create(); Handles is defined only in the implementation.
    explicit OffscreenContext(std::unique_ptr<Handles> handles);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    /// Makes the context current on the calling thread. Returns false when EGL refuses.
    bool makeCurrent();
    /// Releases the context from the calling thread (when it is current there).
    void doneCurrent();
    /// True when this context is current on the calling thread.
    bool isCurrent() const;

private:
    std::unique_ptr<Handles> m_handles;
};

} // namespace Tarnwick::GL
