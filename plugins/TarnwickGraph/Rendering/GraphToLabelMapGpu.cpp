// GPU back end of the graph-to-label-map conversion: uploads the shared arrays into three shader storage
// buffers, runs GraphToLabelVessel.comp with one invocation per edge into an R32UI 3-D texture cleared to
// 65535 (the shader lowers texels with imageAtomicMin), reads the texture back and maps class 0 to 1 and
// everything else to 0 on the CPU. Each invocation works through a bounded number of loop iterations per
// dispatch and records where it stopped; dispatches repeat until no edge is left unfinished (one pass for
// short edges, more for long or thick ones). Cost: the shader does the same work as the CPU path, spread
// over edges instead of slabs; the read-back moves 4 bytes per voxel.

#include <TarnwickGraph/Rendering/GraphToLabelMapGpu.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GL/OffscreenContext.h>
#include <TarnwickGL/GL/ProgramCache.h>
#include <TarnwickGL/GL/ShaderStorageBuffer.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/Texture.h>
#include <TarnwickGL/GL/VersionInfo.h>
#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <fmt/format.h>

#include <cstdint>
#include <exception>
#include <vector>

namespace Tarnwick {

namespace {

/// Loop iterations an invocation runs per pass. llvmpipe ends a shader after 65535 loop iterations of a
/// SIMD vector (8 invocations); 4096 per invocation, plus at most one row of a 2048-voxel texture, stays
/// below that.
constexpr int iterationBudget = 4096;

/// Drops errors left by earlier work in the context, so that a later check sees only new ones.
void clearErrors() {
    for (int i = 0; i < 16; ++i)
        if (glGetError() == GL_NO_ERROR)
            return;
}

} // namespace

GraphToLabelMapGpu::GraphToLabelMapGpu() = default;

GraphToLabelMapGpu::~GraphToLabelMapGpu() {
    if (!m_context)
        return;
    if (GL::hasCurrentContext()) {
        // A context of the caller is current, and switching away from it is not ours to do. Destroying the
        // own context frees the programs in it, so only the wrappers' few bytes are given up.
        static_cast<void>(m_programs.release());
        return;
    }
    // The cached programs belong to the own context: delete them while it is current.
    if (m_context->makeCurrent()) {
        m_programs.reset();
        m_context->doneCurrent();
    }
}

bool GraphToLabelMapGpu::available() {
    if (GL::hasCurrentContext())
        return GL::versionInfo().atLeast(4, 3);
    if (!m_contextTried) {
        m_contextTried = true;
        std::string error;
        m_context = GL::OffscreenContext::create(&error);
        if (m_context) {
            m_contextHas43 = GL::versionInfo().atLeast(4, 3);
            m_programs = std::make_unique<GL::ProgramCache>(10);
            m_context->doneCurrent();
        } else {
            TW_LOG_DEBUG("Graph to label map: {}", error);
        }
    }
    return m_contextHas43;
}

std::unique_ptr<SharedImage> GraphToLabelMapGpu::compute(const GraphToLabelMapAlgorithm::Input& input,
                                                         std::string* error) {
    if (!available()) {
        *error = "OpenGL 4.3 not available";
        return nullptr;
    }
    if (GL::hasCurrentContext()) {
        const GL::StateGuard state;
        GL::ProgramCache programs(10);
        return run(input, programs, error);
    }
    if (!m_context->makeCurrent()) {
        *error = "the offscreen context cannot be made current";
        return nullptr;
    }
    std::unique_ptr<SharedImage> image = run(input, *m_programs, error);
    m_context->doneCurrent();
    return image;
}

std::unique_ptr<SharedImage> GraphToLabelMapGpu::run(const GraphToLabelMapAlgorithm::Input& input,
                                                     GL::ProgramCache& programs, std::string* error) const {
    const std::vector<std::string> defines = input.mode == GraphToLabelMapAlgorithm::Vessel
                                                 ? std::vector<std::string>{"#define CYLINDER_MODE;"}
                                                 : std::vector<std::string>{};
    clearErrors();
    GL::Program* program = programs.get(shaderResource, defines, error);
    if (!program)
        return nullptr;
    const Eigen::Vector3i dims = input.descriptor.descriptor.dimensions;
    GLint maxSize = 0;
    glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &maxSize);
    if (dims.maxCoeff() > maxSize) {
        *error = fmt::format("the label map is larger than the largest 3-D texture ({} voxels per axis)", maxSize);
        return nullptr;
    }
    try {
        GL::ShaderStorageBuffer points, edges, radii;
        points.setData(input.points);
        edges.setData(input.edges);
        radii.setData(input.radii);
        GL::Texture classes(GL_TEXTURE_3D, GL::InternalFormat::R32UI, dims);
        const std::uint32_t cleared = 65535;
        classes.clear(&cleared);
        if (input.numEdges > 0) {
            points.bindBase(0);
            edges.bindBase(1);
            radii.bindBase(2);
            // Where each edge's invocation stopped (zeros: not started), and the count of unfinished edges.
            GL::ShaderStorageBuffer progress, pending;
            progress.setData(std::vector<std::int32_t>(4 * static_cast<std::size_t>(input.numEdges), 0),
                             GL_DYNAMIC_DRAW);
            pending.setData(nullptr, sizeof(std::uint32_t), GL_DYNAMIC_DRAW);
            progress.bindBase(3);
            pending.bindBase(4);
            // Atomic minimum reads the texel too, so the image is bound for reading and writing.
            classes.bindImage(0, GL_READ_WRITE);
            program->setUniform("u_outputTexture", 0);
            program->setUniform("u_graphToPixelMatrix", input.graphToPixel);
            program->setUniform("u_outputDims", dims);
            program->setUniform("u_numEdges", input.numEdges);
            program->setUniform("u_metric", input.metric);
            program->setUniform("u_iterationBudget", iterationBudget);
            if (input.mode == GraphToLabelMapAlgorithm::Vessel)
                program->setUniform("u_minSpacing", input.minSpacing);
            // ceil(numEdges / 32) groups, folded into rows when they exceed the dispatch limit.
            GLint maxGroups = 65535;
            glGetIntegeri_v(GL_MAX_COMPUTE_WORK_GROUP_COUNT, 0, &maxGroups);
            const int groups = (input.numEdges + 31) / 32;
            const int rows = (groups + maxGroups - 1) / maxGroups;
            std::uint32_t unfinished = 0;
            do {
                const std::uint32_t zero = 0;
                pending.setSubData(&zero, sizeof(zero));
                program->dispatch(Eigen::Vector3i(rows > 1 ? maxGroups : groups, rows, 1));
                glMemoryBarrier(GL_SHADER_STORAGE_BARRIER_BIT | GL_BUFFER_UPDATE_BARRIER_BIT);
                pending.download(&unfinished, sizeof(unfinished));
            } while (unfinished > 0);
            glMemoryBarrier(GL_SHADER_IMAGE_ACCESS_BARRIER_BIT | GL_TEXTURE_UPDATE_BARRIER_BIT);
        }
        std::vector<std::uint32_t> texels(ImageOps::voxelCount(dims));
        if (!classes.download(texels.data(), texels.size() * sizeof(std::uint32_t))) {
            *error = "the label texture cannot be read back";
            return nullptr;
        }
        if (const GLenum glError = glGetError(); glError != GL_NO_ERROR) {
            *error = fmt::format("OpenGL error 0x{:04X}", glError);
            return nullptr;
        }
        auto labels = TypedImage<std::uint8_t>::uninitialized(
            ImageDescriptor(PixelType::UInt8, dims, 1, input.descriptor.descriptor.spacing));
        std::uint8_t* out = labels->pointer();
        for (std::size_t i = 0; i < texels.size(); ++i)
            out[i] = texels[i] == 0 ? 1 : 0;
        return std::make_unique<SharedImage>(std::shared_ptr<MemImage>(std::move(labels)),
                                             input.descriptor.matrixToWorld);
    } catch (const std::exception& e) {
        *error = e.what();
        return nullptr;
    }
}

} // namespace Tarnwick
