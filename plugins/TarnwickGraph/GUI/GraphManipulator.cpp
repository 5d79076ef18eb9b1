#include <TarnwickGraph/GUI/GraphManipulator.h>

#include <TarnwickGL/GlView.h>
#include <TarnwickGL/ViewPicking.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphEditCommand.h>
#include <TarnwickGraph/GUI/GraphNodeIndex.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>

#include <QUndoStack>

#include <Eigen/Geometry>
#include <Eigen/LU>

namespace Tarnwick {

GraphManipulator::GraphManipulator(Graph& graph) : m_graph(graph), m_index(std::make_shared<GraphNodeIndex>()) {}

GraphManipulator::~GraphManipulator() {
    // An edit in progress (a preview node while drawing) must not stay in the graph.
    if (Interaction* active = activeInteraction())
        active->cleanVisualizations();
}

void GraphManipulator::addInteraction(const std::string& name, std::unique_ptr<Interaction> interaction) {
    if (!interaction)
        return;
    interaction->shareIndex(m_index);
    interaction->setGraph(&m_graph);
    m_interactions.emplace_back(name, std::move(interaction));
}

bool GraphManipulator::setActiveInteraction(const std::string& name) {
    for (std::size_t i = 0; i < m_interactions.size(); ++i) {
        if (m_interactions[i].first != name)
            continue;
        if (i != m_active && m_active < m_interactions.size())
            m_interactions[m_active].second->cleanVisualizations();
        m_active = i;
        return true;
    }
    return false;
}

GraphManipulator::Interaction* GraphManipulator::activeInteraction() const {
    return m_active < m_interactions.size() ? m_interactions[m_active].second.get() : nullptr;
}

std::string GraphManipulator::activeInteractionName() const {
    return m_active < m_interactions.size() ? m_interactions[m_active].first : std::string();
}

bool GraphManipulator::sceneEvent(QEvent* event, const GlView& view) {
    Interaction* active = activeInteraction();
    return active && active->dispatch(event, view, pixelRatio());
}

GraphManipulator::Interaction::Interaction(DisplayWidgetMulti& display)
    : m_display(display), m_index(std::make_shared<GraphNodeIndex>()) {
    m_refreshed = QObject::connect(&display, &DisplayWidgetMulti::dataRefreshed,
                                   [this](const Data* data) { onDataRefreshed(data); });
}

GraphManipulator::Interaction::~Interaction() {
    QObject::disconnect(m_refreshed);
}

void GraphManipulator::Interaction::setGraph(Graph* graph) {
    cleanVisualizations();
    m_deleted.disconnect();
    m_graph = graph;
    m_index->invalidate();
    if (graph)
        m_deleted = graph->signalDeleted.connect(this, [this](const Data*) {
            m_graph = nullptr;
            m_index->invalidate();
            cleanVisualizations();
        });
}

void GraphManipulator::Interaction::shareIndex(std::shared_ptr<GraphNodeIndex> index) {
    if (index)
        m_index = std::move(index);
}

const GraphNodeIndex& GraphManipulator::Interaction::nodeIndex() {
    if (!m_index->isCurrentFor(*m_graph))
        m_index->rebuild(*m_graph);
    return *m_index;
}

void GraphManipulator::Interaction::nodesChanged(const std::vector<unsigned long>& ids) {
    m_index->update(*m_graph, ids);
    m_display.updateViews();
}

void GraphManipulator::Interaction::recordEdit(GraphNodesSnapshot before, const QString& text) {
    QUndoStack* stack = m_display.undoStack();
    if (!stack || !m_graph)
        return;
    GraphNodesSnapshot after = GraphNodesSnapshot::capture(*m_graph, before.ids());
    stack->push(new GraphEditCommand(*m_graph, std::move(before), std::move(after), text, &m_display));
}

Eigen::Vector3d GraphManipulator::Interaction::toWorld(const Eigen::Vector3d& graphPosition) const {
    return (m_graph->matrixToWorld() * graphPosition.homogeneous()).head<3>();
}

Eigen::Vector3d GraphManipulator::Interaction::graphPosition(const GlView& view, const Eigen::Vector2d& pixel,
                                                             const std::optional<Eigen::Vector3d>& reference) const {
    const Eigen::Matrix4d toWorldMatrix = m_graph->matrixToWorld();
    const Eigen::Matrix4d fromWorld = toWorldMatrix.inverse();
    std::optional<Eigen::Vector3d> world;
    if (m_graph->dimension() == Graph::Dim2D) {
        // The graph's own plane z = const, carried into the world: normals map by the inverse transpose.
        const Eigen::Vector3d inPlane(0.0, 0.0, reference ? reference->z() : 0.0);
        const Eigen::Vector3d normal = fromWorld.topLeftCorner<3, 3>().transpose() * Eigen::Vector3d::UnitZ();
        world = ViewPicking::onPlane(view, pixel, (toWorldMatrix * inPlane.homogeneous()).head<3>(), normal);
    } else if (reference) {
        world = ViewPicking::onPlane(view, pixel, toWorld(*reference), view.viewState().zDir());
    }
    if (!world)
        world = ViewPicking::onViewPlane(view, pixel);
    return (fromWorld * world->homogeneous()).head<3>();
}

const QMouseEvent* GraphManipulator::Interaction::mouseEvent(const QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
        return static_cast<const QMouseEvent*>(event);
    default:
        return nullptr;
    }
}

void GraphManipulator::Interaction::onDataRefreshed(const Data* data) {
    if (!m_graph || data != m_graph)
        return;
    m_index->invalidate();
    cleanVisualizations();
}

} // namespace Tarnwick
