#pragma once

#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>

#include <memory>
#include <string>

namespace Tarnwick {

namespace GL {
class OffscreenContext;
class ProgramCache;
} // namespace GL

/// The GPU back end of GraphToLabelMapAlgorithm: the compute shader resource
/// "TarnwickGraph/GraphToLabelVessel.comp" run once per edge into an R32UI 3-D texture (atomic minimum of
/// the voxel classes), read back and turned into the uint8 label image on the CPU.
///
/// Contexts: it works in the OpenGL context current on the calling thread; when none is current it uses
/// an offscreen context of its own, created on first use and kept, made current only while it works.
/// Programs compiled in its own context stay in a cache of 10 for later runs; in a caller's context they
/// are compiled per run (the cache could not tell that context from another one later).
class GraphToLabelMapGpu {
public:
    /// Resource name of the compute shader.
    static constexpr const char* shaderResource = "TarnwickGraph/GraphToLabelVessel.comp";

    GraphToLabelMapGpu();
    ~GraphToLabelMapGpu();
    GraphToLabelMapGpu(const GraphToLabelMapGpu&) = delete;
    GraphToLabelMapGpu& operator=(const GraphToLabelMapGpu&) = delete;

    /// Whether OpenGL 4.3 is available: in the current context, or else in the own offscreen context
    /// (created by the first call that needs it; a failure is remembered and its reason logged at debug level).
    bool available();

    /// The label image of `input`; null with `*error` set when the GPU cannot produce it (no context,
    /// shader error, grid larger than the largest 3-D texture, out of memory). Leaves the calling
    /// thread's current context as it found it.
    std::unique_ptr<SharedImage> compute(const GraphToLabelMapAlgorithm::Input& input, std::string* error);

private:
    std::unique_ptr<SharedImage> run(const GraphToLabelMapAlgorithm::Input& input, GL::ProgramCache& programs,
                                     std::string* error) const;

    std::unique_ptr<GL::OffscreenContext> m_context;
    std::unique_ptr<GL::ProgramCache> m_programs; ///< programs of m_context
    bool m_contextTried = false;
    bool m_contextHas43 = false;
};

} // namespace Tarnwick
