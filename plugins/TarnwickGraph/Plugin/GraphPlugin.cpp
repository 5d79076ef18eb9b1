#include <TarnwickGraph/Plugin/GraphPlugin.h>

#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickGraph/Plugin/GraphDataAnnotationFactory.h>
#include <TarnwickGraph/Plugin/GraphPluginControllerFactory.h>
#include <TarnwickGraph/Plugin/GraphPluginFactory.h>
#include <TarnwickLib/IO/TarnwickFile.h>

namespace Tarnwick {

GraphPlugin::GraphPlugin() = default;

GraphPlugin::~GraphPlugin() {
    // The registry must forget the factories before they are destroyed.
    unregisterFactories();
}

int GraphPlugin::init() {
    m_annotationFactory = std::make_unique<GraphDataAnnotationFactory>();
    m_controllerFactory = std::make_unique<GraphPluginControllerFactory>();
    m_algorithmFactory = std::make_unique<GraphPluginFactory>();
    registerFactories(m_algorithmFactory.get(), m_controllerFactory.get(), m_annotationFactory.get());
    // The shader repository and the display handler are registered here by the rendering layer.
    TarnwickFile::addPlugin(std::make_unique<GraphTarnwickFilePlugin>(GraphTarnwickFilePlugin::graphTypeId));
    return 0;
}

std::string GraphPlugin::id() const {
    return pluginId;
}

std::string GraphPlugin::description() const {
    return "Plugin for working with graphs";
}

std::string GraphPlugin::author() const {
    return "Tarnwick Graph developers";
}

} // namespace Tarnwick
