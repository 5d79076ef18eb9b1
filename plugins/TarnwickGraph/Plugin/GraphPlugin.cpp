#include <TarnwickGraph/Plugin/GraphPlugin.h>

#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickGraph/Pipelines/GraphPipelinesFactory.h>
#include <TarnwickGraph/Plugin/GraphDataAnnotationFactory.h>
#include <TarnwickGraph/Plugin/GraphPluginControllerFactory.h>
#include <TarnwickGraph/Plugin/GraphPluginFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <TarnwickGraphResources.h>

#if TARNWICK_WITH_GL
#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGraph/Rendering/GraphDisplayHandler.h>
#endif
#if TARNWICK_WITH_GUI
#include <TarnwickGraph/GUI/GlGraphDisplayOptionsWidget.h>
#include <TarnwickGraph/GUI/GraphControllerTable.h>
#include <TarnwickGraph/GUI/GraphDataController.h>
#include <TarnwickGUI/DataControllerFactory.h>
#endif

namespace Tarnwick {

GraphPlugin::GraphPlugin() = default;

GraphPlugin::~GraphPlugin() {
    // The registry must forget the factories and the shader repository before they are destroyed.
    unregisterFactories();
    FactoryRegistry::get().removeAlgorithmFactory(m_pipelinesFactory.get());
    Resource::removeRepository(m_resources.get());
#if TARNWICK_WITH_GL
    DataDisplayHandlerFactory::instance().unregisterHandler(GraphDisplayHandler::handlerName);
#endif
#if TARNWICK_WITH_GUI
    DataControllerFactory::instance().unregisterController(pluginId);
    GraphPluginControllerFactory::setTable(nullptr);
#endif
}

int GraphPlugin::init() {
    m_annotationFactory = std::make_unique<GraphDataAnnotationFactory>();
    m_controllerFactory = std::make_unique<GraphPluginControllerFactory>();
    m_algorithmFactory = std::make_unique<GraphPluginFactory>();
    registerFactories(m_algorithmFactory.get(), m_controllerFactory.get(), m_annotationFactory.get());
    FactoryRegistry::get().removeAlgorithmFactory(m_pipelinesFactory.get());
    m_pipelinesFactory = std::make_unique<GraphPipelinesFactory>();
    FactoryRegistry::get().addAlgorithmFactory(m_pipelinesFactory.get());
    m_resources = TarnwickGraphResources();
    Resource::addRepository(m_resources);
#if TARNWICK_WITH_GL
    // With the GUI layer, graphs get their options panel and the data controller of graph selections.
    GraphDisplayHandler::OptionsWidgetCreator optionsWidget;
#if TARNWICK_WITH_GUI
    optionsWidget = &GlGraphDisplayOptionsWidget::create;
    DataControllerFactory::instance().registerController(pluginId, &GraphDataController::createCompatible);
    GraphPluginControllerFactory::setTable(&createGraphController);
#endif
    DataDisplayHandlerFactory::instance().registerHandler(GraphDisplayHandler::handlerName, [optionsWidget] {
        return std::make_unique<GraphDisplayHandler>(optionsWidget);
    });
#endif
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
