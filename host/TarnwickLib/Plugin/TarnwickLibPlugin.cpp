#include <TarnwickLib/Plugin/TarnwickLibPlugin.h>

#include <TarnwickLib/Algorithm/FactoryRegistry.h>

namespace Tarnwick {

TarnwickLibPlugin::~TarnwickLibPlugin() {
    unregisterFactories();
}

void TarnwickLibPlugin::registerFactories(AlgorithmFactory* algorithmFactory,
                                          AlgorithmControllerFactory* controllerFactory,
                                          DataAnnotationFactory* annotationFactory) {
    unregisterFactories();
    FactoryRegistry& registry = FactoryRegistry::get();
    registry.addAlgorithmFactory(algorithmFactory);
    registry.addControllerFactory(controllerFactory);
    registry.addAnnotationFactory(annotationFactory);
    m_algorithmFactory = algorithmFactory;
    m_controllerFactory = controllerFactory;
    m_annotationFactory = annotationFactory;
}

void TarnwickLibPlugin::unregisterFactories() {
    FactoryRegistry& registry = FactoryRegistry::get();
    registry.removeAlgorithmFactory(m_algorithmFactory);
    registry.removeControllerFactory(m_controllerFactory);
    registry.removeAnnotationFactory(m_annotationFactory);
    m_algorithmFactory = nullptr;
    m_controllerFactory = nullptr;
    m_annotationFactory = nullptr;
}

} // namespace Tarnwick
