#include <TarnwickGL/GlView.h>

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/TextRenderer.h>
#include <TarnwickGL/GlObject.h>

#include <epoxy/gl.h>

#include <algorithm>

namespace Tarnwick {

GlView::GlView() = default;
GlView::~GlView() = default;

void GlView::resize(int width, int height) {
    m_width = std::max(width, 1);
    m_height = std::max(height, 1);
    updateViewState();
}

void GlView::addObject(GlObject* object) {
    if (object && std::find(m_objects.begin(), m_objects.end(), object) == m_objects.end())
        m_objects.push_back(object);
}

void GlView::removeObject(GlObject* object) {
    m_objects.erase(std::remove(m_objects.begin(), m_objects.end(), object), m_objects.end());
}

Geometry::AlignedBox GlView::objectBounds() const {
    Geometry::AlignedBox box;
    for (const GlObject* object : m_objects)
        if (object->isVisible())
            box.addBox(object->bounds());
    return box;
}

void GlView::render() {
    glViewport(0, 0, m_width, m_height);
    glClearColor(m_background[0], m_background[1], m_background[2], m_background[3]);
    glClearDepth(1.0);
    glDepthMask(GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    for (GlObject* object : m_objects)
        if (object->isVisible())
            object->draw(*this);
}

GL::FixedFunctionPipeline& GlView::pipeline() const {
    if (!m_pipeline)
        m_pipeline = std::make_unique<GL::FixedFunctionPipeline>();
    return *m_pipeline;
}

GL::TextRenderer& GlView::textRenderer() const {
    if (!m_textRenderer)
        m_textRenderer = std::make_unique<GL::TextRenderer>();
    return *m_textRenderer;
}

} // namespace Tarnwick
