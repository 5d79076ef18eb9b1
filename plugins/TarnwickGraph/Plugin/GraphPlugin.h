#pragma once

#include <TarnwickLib/Plugin/TarnwickLibPlugin.h>

#include <memory>

namespace Tarnwick {

class GraphDataAnnotationFactory;
class GraphPluginControllerFactory;
class GraphPipelinesFactory;
class GraphPluginFactory;
class ResourceRepository;

/// The graph plug-in object the host creates through `tarnwickCreatePlugin`. init() registers the
/// plug-in's factories, its shader repository and the graph record of the host's data file. The plug-in
/// owns its factories and the repository for its whole life; the file plug-in is owned by the data file,
/// which the host's plug-in manager clears before it unloads the library.
class GraphPlugin : public TarnwickLibPlugin {
public:
    /// The plug-in id, also returned by `tarnwickPluginId()`.
    static constexpr const char* pluginId = "Tarnwick.Graph";

    GraphPlugin();
    ~GraphPlugin() override;

    /// 1. creates the data-annotation, controller and algorithm factories and hands them to the host,
    ///    then adds the second algorithm factory, "GraphPipelines" (the main job), to the registry;
    /// 2. registers the shader repository with Resource and, when built with OpenGL, the display handler
    ///    "Tarnwick.GraphDisplayHandler" with DataDisplayHandlerFactory;
    /// 3. registers the graph record (GraphTarnwickFilePlugin, type id 158323) with TarnwickFile.
    /// Returns 0.
    int init() override;
    std::string id() const override;
    std::string description() const override;
    std::string author() const override;

private:
    std::unique_ptr<GraphDataAnnotationFactory> m_annotationFactory;
    std::unique_ptr<GraphPluginControllerFactory> m_controllerFactory;
    std::unique_ptr<GraphPluginFactory> m_algorithmFactory;
    /// Registered with FactoryRegistry directly (the host hands over one algorithm factory per plug-in)
    /// and removed again in the destructor.
    std::unique_ptr<GraphPipelinesFactory> m_pipelinesFactory;
    /// The plug-in's shaders ("TarnwickGraph/GraphToLabelVessel.comp"), registered with Resource.
    std::shared_ptr<ResourceRepository> m_resources;
};

} // namespace Tarnwick
