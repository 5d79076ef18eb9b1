#include <TarnwickGL/GlImage.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GL/ProgramCache.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/Texture.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <type_traits>

namespace Tarnwick {

namespace {

/// The first channel of an image in a form a 3-D texture takes, and how to turn texels back into
/// image values: value = texel * scale + offset.
struct VolumeData {
    GL::InternalFormat format;
    const void* pixels = nullptr;
    std::vector<std::uint8_t> converted;
    float scale = 1.0f;
    float offset = 0.0f;
};

/// 8- and 16-bit integers go to normalised R8/R16 (signed ones shifted to unsigned, which is exact);
/// everything else to R32F.
VolumeData volumeData(const MemImage& mem) {
    const std::size_t count = mem.descriptor().numPixels();
    const int channels = mem.channels();
    return dispatchPixelType(mem.pixelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* source = static_cast<const T*>(mem.data());
        VolumeData result;
        if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
            using U = std::make_unsigned_t<T>;
            constexpr int shift = std::is_signed_v<T> ? -int(std::numeric_limits<T>::min()) : 0;
            result.format = sizeof(T) == 1 ? GL::InternalFormat{GL_R8, GL_RED, GL_UNSIGNED_BYTE}
                                           : GL::InternalFormat{GL_R16, GL_RED, GL_UNSIGNED_SHORT};
            result.scale = float(std::numeric_limits<U>::max());
            result.offset = float(-shift);
            if (channels == 1 && shift == 0) {
                result.pixels = source;
                return result;
            }
            result.converted.resize(count * sizeof(U));
            U* target = reinterpret_cast<U*>(result.converted.data());
            for (std::size_t i = 0; i < count; ++i)
                target[i] = U(int(source[i * channels]) + shift);
        } else {
            result.format = GL::InternalFormat::R32F;
            result.converted.resize(count * sizeof(float));
            float* target = reinterpret_cast<float*>(result.converted.data());
            for (std::size_t i = 0; i < count; ++i)
                target[i] = float(source[i * channels]);
        }
        result.pixels = result.converted.data();
        return result;
    });
}

} // namespace

GlImage::GlImage(std::shared_ptr<const SharedImage> image) {
    setImage(std::move(image));
}
GlImage::~GlImage() = default;

void GlImage::setImage(std::shared_ptr<const SharedImage> image) {
    m_image = std::move(image);
    invalidate();
    if (!m_image)
        return;
    const auto [low, high] = m_image->mem()->minMax();
    if (std::isfinite(low) && std::isfinite(high))
        setWindowLevel(high > low ? high - low : 1.0, 0.5 * (low + high));
    m_focusPoint = bounds().center();
}

void GlImage::invalidate() {
    m_volume.reset();
    m_uploadFailed = false;
}

void GlImage::setWindowLevel(double window, double level) {
    if (!(window > 0.0) || !std::isfinite(window) || !std::isfinite(level))
        return;
    m_window = window;
    m_level = level;
}

void GlImage::setOpacity(double opacity) {
    if (std::isfinite(opacity))
        m_opacity = std::clamp(opacity, 0.0, 1.0);
}

Geometry::AlignedBox GlImage::bounds() const {
    Geometry::AlignedBox box;
    if (!m_image)
        return box;
    const ImageDescriptorWorld world = m_image->descriptorWorld();
    const Eigen::Vector3d last = world.descriptor.dimensions.cast<double>() - Eigen::Vector3d::Constant(0.5);
    for (int corner = 0; corner < 8; ++corner) {
        const Eigen::Vector3d pixel(corner & 1 ? last.x() : -0.5, corner & 2 ? last.y() : -0.5,
                                    corner & 4 ? last.z() : -0.5);
        box.addPoint(world.pixelToWorld(pixel));
    }
    return box;
}

bool GlImage::prepare() {
    if (!m_image || m_uploadFailed)
        return false;
    if (m_volume)
        return true;
    try {
        const VolumeData data = volumeData(*m_image->mem());
        m_volume = std::make_unique<GL::Texture>(GL_TEXTURE_3D, data.format, m_image->descriptor().dimensions);
        m_volume->upload(data.pixels);
        m_volume->setFilter(GL_LINEAR);
        m_valueScale = data.scale;
        m_valueOffset = data.offset;
    } catch (const std::exception& e) {
        m_volume.reset();
        m_uploadFailed = true;
        TW_LOG_ERROR("Cannot show the image {} in a view: {}", m_image->descriptor().describe(), e.what());
        return false;
    }
    if (!m_vertices)
        m_vertices = std::make_unique<GL::VertexBuffer>();
    if (!m_programs)
        m_programs = std::make_unique<GL::ProgramCache>(2);
    return true;
}

std::vector<GlImage::Quad> GlImage::planes(const GlView& view) const {
    const ImageDescriptorWorld world = m_image->descriptorWorld();
    const Eigen::Vector3d last = world.descriptor.dimensions.cast<double>() - Eigen::Vector3d::Constant(0.5);
    std::vector<Quad> quads;
    if (const auto* slice = dynamic_cast<const GlSliceView*>(&view)) {
        // The part of the slice plane covered by the image's box, as seen along the view's axes.
        const Eigen::Vector3d origin = slice->slicePosition(), right = slice->rightDir(), up = slice->upDir();
        const Geometry::AlignedBox box = bounds();
        Eigen::Vector2d low = Eigen::Vector2d::Constant(std::numeric_limits<double>::infinity()), high = -low;
        for (int corner = 0; corner < 8; ++corner) {
            const Eigen::Vector3d p(corner & 1 ? box.max().x() : box.min().x(),
                                    corner & 2 ? box.max().y() : box.min().y(),
                                    corner & 4 ? box.max().z() : box.min().z());
            const Eigen::Vector2d inPlane(right.dot(p - origin), up.dot(p - origin));
            low = low.cwiseMin(inPlane);
            high = high.cwiseMax(inPlane);
        }
        quads.push_back({origin + right * low.x() + up * low.y(), origin + right * high.x() + up * low.y(),
                         origin + right * high.x() + up * high.y(), origin + right * low.x() + up * high.y()});
        return quads;
    }
    // Volume view: the voxel grid's own planes through the focus point (one plane for a 2-D image).
    const Eigen::Vector3d focus =
        world.worldToPixel(m_focusPoint).cwiseMax(Eigen::Vector3d::Constant(-0.5)).cwiseMin(last);
    for (int axis = world.descriptor.is2D() ? 2 : 0; axis < 3; ++axis) {
        const int u = (axis + 1) % 3, v = (axis + 2) % 3;
        Quad quad;
        for (int corner = 0; corner < 4; ++corner) {
            Eigen::Vector3d pixel = focus;
            pixel[u] = (corner == 1 || corner == 2) ? last[u] : -0.5;
            pixel[v] = corner >= 2 ? last[v] : -0.5;
            quad[corner] = world.pixelToWorld(pixel);
        }
        quads.push_back(quad);
    }
    return quads;
}

void GlImage::draw(const GlView& view) {
    if (!prepare() || m_opacity <= 0.0)
        return;
    GL::StateGuard guard;
    if (m_opacity < 1.0) {
        glEnable(GL_BLEND);
        // The target keeps its alpha: a widget composes its framebuffer as premultiplied colour.
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ZERO, GL_ONE);
    } else {
        glDisable(GL_BLEND);
    }
    try {
        if (view.kind() == 2 && m_mode == MIP)
            drawProjection(view);
        else
            drawPlanes(view, planes(view));
    } catch (const std::exception& e) { // a colour map too large for a texture
        TW_LOG_ERROR("Cannot draw the image {}: {}", m_image->descriptor().describe(), e.what());
    }
}

namespace {

GL::Vertex vertexAt(const Eigen::Vector3d& p) {
    return {{float(p.x()), float(p.y()), float(p.z())}, {1, 1, 1, 1}};
}

} // namespace

void GlImage::setCommonUniforms(GL::Program& program) {
    const ImageDescriptorWorld world = m_image->descriptorWorld();
    const Eigen::Vector3d dims = world.descriptor.dimensions.cast<double>();
    // Texture coordinate of a pixel: (pixel + 0.5) / dimensions.
    const Eigen::Matrix4d worldToTexture =
        (Eigen::Scaling(dims.cwiseInverse()) * Eigen::Translation3d(Eigen::Vector3d::Constant(0.5))).matrix() *
        world.worldToPixelMatrix();
    m_volume->bind(0);
    m_colormap.texture().bind(1);
    program.setUniform("uVolume", 0);
    program.setUniform("uColormap", 1);
    program.setUniform("uColormapSize", m_colormap.entries());
    program.setUniform("uWorldToTexture", Eigen::Matrix4f(worldToTexture.cast<float>()));
    program.setUniform("uValueScale", m_valueScale);
    program.setUniform("uValueOffset", m_valueOffset);
    program.setUniform("uWindowLow", float(m_level - 0.5 * m_window));
    program.setUniform("uWindowWidth", float(m_window));
    program.setUniform("uOpacity", float(m_opacity));
    program.setUniform("uLabelMode", m_labelMode ? 1 : 0);
}

void GlImage::drawPlanes(const GlView& view, const std::vector<Quad>& quads) {
    std::string error;
    GL::Program* program = m_programs->get("TarnwickGL/Image.vert", "TarnwickGL/Image.frag", "", {}, &error);
    if (!program) {
        TW_LOG_ERROR("Image shaders unavailable: {}", error);
        return;
    }
    std::vector<GL::Vertex> vertices;
    for (const Quad& quad : quads)
        for (int index : {0, 1, 2, 0, 2, 3})
            vertices.push_back(vertexAt(quad[index]));
    m_vertices->setVertices(vertices);
    setCommonUniforms(*program);
    program->setUniform("uModelViewProjection", Eigen::Matrix4f(view.viewState().viewProjection().cast<float>()));
    program->setUniform("uFlatZ", m_image->descriptor().is2D() ? 1 : 0);
    if (view.kind() == 2) {
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
    } else {
        glDisable(GL_DEPTH_TEST);
    }
    program->use();
    m_vertices->draw(GL_TRIANGLES);
}

void GlImage::drawProjection(const GlView& view) {
    std::string error;
    GL::Program* program =
        m_programs->get("TarnwickGL/Image.vert", "TarnwickGL/Image.frag", "", {"#define MAXIMUM_INTENSITY"}, &error);
    if (!program) {
        TW_LOG_ERROR("Image shaders unavailable: {}", error);
        return;
    }
    // A quad over the whole viewport in clip coordinates.
    m_vertices->setVertices({vertexAt({-1, -1, 0}), vertexAt({1, -1, 0}), vertexAt({1, 1, 0}), vertexAt({-1, -1, 0}),
                             vertexAt({1, 1, 0}), vertexAt({-1, 1, 0})});
    setCommonUniforms(*program);
    program->setUniform("uModelViewProjection", Eigen::Matrix4f::Identity().eval());
    program->setUniform("uClipToWorld", Eigen::Matrix4f(view.viewState().viewProjection().inverse().cast<float>()));
    program->setUniform("uViewportSize", Eigen::Vector2f(float(view.width()), float(view.height())));
    program->setUniform("uVolumeSize", Eigen::Vector3f(m_image->descriptor().dimensions.cast<float>()));
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    program->use();
    m_vertices->draw(GL_TRIANGLES);
}

} // namespace Tarnwick
