// Evaluate graph at image: one sweep over the edges, each sampled once at its midpoint with the image's
// trilinear lookup (graph -> world -> continuous pixel coordinates through one 4x4 matrix). O(E) time,
// no memory besides the new feature column.

#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

EvaluateGraphAtImageAlgorithm::EvaluateGraphAtImageAlgorithm(Graph& graph, const SharedImageSet& images)
    : m_graph(graph), m_images(images) {}

bool EvaluateGraphAtImageAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    if (data.size() != 2)
        return false;
    const auto graphs = data.getAll<Graph>();
    const auto images = data.getImages(Data::Image, Data::NA);
    if (graphs.size() != 1 || images.size() != 1)
        return false;
    if (out)
        *out = new EvaluateGraphAtImageAlgorithm(*graphs.front(), *images.front());
    return true;
}

void EvaluateGraphAtImageAlgorithm::sampleAtEdgeMidpoints(Graph& graph, const SharedImage& image, int column,
                                                          double factor) {
    const Eigen::Matrix4d graphToPixel = image.worldToPixelMatrix() * graph.matrixToWorld();
    const Eigen::Matrix3d linear = graphToPixel.topLeftCorner<3, 3>();
    const Eigen::Vector3d offset = graphToPixel.topRightCorner<3, 1>();
    dispatchPixelType(image.descriptor().pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const TypedImage<T>* values = image.typed<T>();
        graph.editEachEdge([&](Graph::EdgeInfo& edge, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
            const Eigen::Vector3d midpoint = (a.position + b.position) * 0.5;
            edge.features[static_cast<std::size_t>(column)] =
                factor * values->interpolatedValue(linear * midpoint + offset, 0);
        });
    });
}

void EvaluateGraphAtImageAlgorithm::compute() {
    const std::optional<std::string>& name = edgeFeatureName.value();
    if (!name || name->empty()) {
        TW_LOG_ERROR("No edge feature name specified");
        setStatus(InvalidInput);
        return;
    }
    const SharedImage* image = m_images.get(-1);
    if (!image) {
        TW_LOG_ERROR("The image set holds no image");
        setStatus(InvalidInput);
        return;
    }
    std::optional<int> column = m_graph.getEdgeFeatureIdx(*name);
    if (!column) {
        m_graph.addEdgeFeatureDescriptors({{*name, 0.0}});
        column = static_cast<int>(m_graph.edgeFeatureDescriptors().size()) - 1;
    }
    sampleAtEdgeMidpoints(m_graph, *image, *column, 2.0);
    setStatus(Success);
}

} // namespace Tarnwick
