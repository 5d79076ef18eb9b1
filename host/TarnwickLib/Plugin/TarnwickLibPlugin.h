#pragma once

#include <TarnwickLib/Plugin/PluginBase.h>

namespace Tarnwick {

class AlgorithmFactory;
class AlgorithmControllerFactory;
class DataAnnotationFactory;

/// Base of plug-ins that add algorithms, controllers and data types to the library.
///
/// Ownership: the plug-in creates its factories in init(), keeps them, and deletes them in its own
/// destructor. registerFactories() only makes them known to the FactoryRegistry; the registry
/// forgets them again in unregisterFactories(), which the plug-in manager calls before it destroys
/// the plug-in and which this class's destructor calls too. Comparing pointers is all that
/// unregistering does, so it is safe after the derived destructor has deleted the factories.
class TarnwickLibPlugin : public PluginBase {
public:
    ~TarnwickLibPlugin() override;

    /// Adds the factories (any may be null) to the registry, replacing those registered before.
    void registerFactories(AlgorithmFactory* algorithmFactory, AlgorithmControllerFactory* controllerFactory,
                           DataAnnotationFactory* annotationFactory);
    /// Removes this plug-in's factories from the registry; repeated calls do nothing.
    void unregisterFactories();

private:
    AlgorithmFactory* m_algorithmFactory = nullptr;
    AlgorithmControllerFactory* m_controllerFactory = nullptr;
    DataAnnotationFactory* m_annotationFactory = nullptr;
};

} // namespace Tarnwick
