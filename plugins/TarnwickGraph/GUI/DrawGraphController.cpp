#include <TarnwickGraph/GUI/DrawGraphController.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>
#include <TarnwickGraph/GUI/DeleteNodesInteraction.h>
#include <TarnwickGraph/GUI/DrawGraphInteraction.h>
#include <TarnwickGraph/GUI/GraphManipulator.h>
#include <TarnwickGraph/GUI/MoveNodeInteraction.h>
#include <TarnwickGraph/GUI/MoveNodesInteraction.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/PropertiesWidget.h>

#include <QAction>
#include <QActionGroup>
#include <QToolBar>
#include <QVBoxLayout>

namespace Tarnwick {

namespace {
const char* const interactionNames[] = {"Draw", "Move Single", "Move Multiple", "Delete Multiple"};
}

DrawGraphController::DrawGraphController(DrawGraphAlgorithm* algorithm, QWidget* parent)
    : DefaultAlgorithmController(algorithm, {}, false, algorithm->editedGraph() != nullptr, parent), m_draw(algorithm) {
    propertiesWidget()->setVisible(algorithm->editedGraph() == nullptr);
    m_bar = new QToolBar(this);
    m_group = new QActionGroup(this);
    m_group->setExclusive(true);
    for (const char* name : interactionNames) {
        QAction* action = m_bar->addAction(tr(name));
        action->setObjectName(name);
        action->setCheckable(true);
        m_group->addAction(action);
        connect(action, &QAction::triggered, this, [this, name] { activateInteraction(name); });
    }
    m_group->actions().front()->setChecked(true);
    m_bar->setEnabled(false);
    if (auto* column = qobject_cast<QVBoxLayout*>(layout()))
        column->insertWidget(1, m_bar); // under the title
}

DrawGraphController::~DrawGraphController() {
    removeManipulator();
}

void DrawGraphController::init() {
    if (Graph* graph = m_draw->editedGraph())
        addManipulator(*graph);
}

void DrawGraphController::postprocessOutput(const std::vector<Data*>& added) {
    for (Data* data : added)
        if (auto* graph = dynamic_cast<Graph*>(data)) {
            addManipulator(*graph);
            return;
        }
}

bool DrawGraphController::activateInteraction(const std::string& name) {
    if (!m_manipulator || !m_manipulator->setActiveInteraction(name))
        return false;
    for (QAction* action : m_group->actions())
        if (action->objectName().toStdString() == name)
            action->setChecked(true);
    if (display())
        display()->updateViews();
    return true;
}

void DrawGraphController::addManipulator(Graph& graph) {
    removeManipulator();
    DisplayWidgetMulti* views = display();
    if (!views) {
        TW_LOG_ERROR("Drawing needs the application's views; none were given to the controller");
        return;
    }
    m_manipulator = std::make_unique<GraphManipulator>(graph);
    m_manipulator->addInteraction(interactionNames[0], std::make_unique<DrawGraphInteraction>(*views));
    m_manipulator->addInteraction(interactionNames[1], std::make_unique<MoveNodeInteraction>(*views));
    m_manipulator->addInteraction(interactionNames[2], std::make_unique<MoveNodesInteraction>(*views));
    m_manipulator->addInteraction(interactionNames[3], std::make_unique<DeleteNodesInteraction>(*views));
    views->addManipulator(m_manipulator.get());
    m_graphDeleted = graph.signalDeleted.connect(this, [this](const Data*) { removeManipulator(); });
    m_bar->setEnabled(true);
    const QAction* checked = m_group->checkedAction();
    activateInteraction(checked ? checked->objectName().toStdString() : interactionNames[0]);
}

void DrawGraphController::removeManipulator() {
    m_graphDeleted.disconnect();
    if (!m_manipulator)
        return;
    if (DisplayWidgetMulti* views = display())
        views->removeManipulator(m_manipulator.get());
    m_manipulator.reset();
    m_bar->setEnabled(false);
}

} // namespace Tarnwick
