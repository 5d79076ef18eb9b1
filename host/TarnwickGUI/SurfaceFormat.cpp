#include <TarnwickGUI/SurfaceFormat.h>

#include <QSurfaceFormat>

namespace Tarnwick {

void setDefaultSurfaceFormat() {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(4, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setSamples(4);
    QSurfaceFormat::setDefaultFormat(format);
}

} // namespace Tarnwick
