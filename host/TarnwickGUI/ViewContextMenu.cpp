#include <TarnwickGUI/ViewContextMenu.h>

#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGUI/DisplayOptionsController.h>
#include <TarnwickGUI/DisplayOptionsDialog.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickGUI/ImageDataController.h>
#include <TarnwickLib/Data/DataModel.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>

namespace Tarnwick {

ViewContextMenu::ViewContextMenu(DisplayWidgetMulti& display, DataModel& model, QObject* parent)
    : QObject(parent), m_display(display), m_model(model) {
    for (int view = 0; view < DisplayWidgetMulti::viewCount; ++view)
        display.viewWidget(view)->installEventFilter(this);
}

std::vector<Data*> ViewContextMenu::dataShownIn(int view) const {
    std::vector<Data*> shown;
    GlView& glView = m_display.viewWidget(view)->view();
    for (Data* data : m_model.getAll()) {
        if (!m_display.isShown(*data))
            continue;
        if (m_display.imageObject(*data, view)) {
            shown.push_back(data);
        } else if (DataDisplayHandler* handler = DataDisplayHandlerFactory::instance().handlerFor(*data)) {
            if (handler->canBeShownInView(*data, glView))
                shown.push_back(data);
        }
    }
    return shown;
}

std::unique_ptr<QMenu> ViewContextMenu::createMenu(int view) {
    const std::vector<Data*> shown = dataShownIn(view);
    if (shown.empty())
        return nullptr;
    auto menu = std::make_unique<QMenu>();
    for (Data* data : shown) {
        QMenu* sub = menu->addMenu(QString::fromStdString(data->name()));
        sub->addAction(tr("Display Options…"), this, [this, data, view] { openDisplayOptions(*data, view); });
    }
    return menu;
}

QDialog* ViewContextMenu::openDisplayOptions(Data& data, int view) {
    QWidget* panel = nullptr;
    Configurable* options = nullptr;
    if (auto* image = dynamic_cast<SharedImageSet*>(&data)) {
        panel = new ImageDataController(*image, m_display);
    } else if (DataDisplayHandler* handler = DataDisplayHandlerFactory::instance().handlerFor(data)) {
        options = handler->displayOptions(data);
        std::unique_ptr<DataDisplayHandler::OptionsWidget> built =
            handler->createDisplayOptionsWidget(data, m_display.viewWidget(view)->view());
        if (auto* widget = dynamic_cast<QWidget*>(built.get())) {
            built.release(); // the dialog takes it as a child
            panel = widget;
        } else if (options) {
            panel = new DisplayOptionsController(data, *options, m_display);
        }
    }
    if (!panel)
        return nullptr;
    auto* dialog = new DisplayOptionsDialog(data, panel, options, m_display, m_display.window());
    dialog->show();
    return dialog;
}

bool ViewContextMenu::eventFilter(QObject* watched, QEvent* event) {
    const int view = viewIndex(watched);
    if (view < 0)
        return false;
    if (event->type() == QEvent::MouseButtonPress) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::RightButton)
            m_pressPosition = mouse->pos();
    } else if (event->type() == QEvent::MouseButtonRelease) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::RightButton &&
            (mouse->pos() - m_pressPosition).manhattanLength() < QApplication::startDragDistance())
            popUp(view, mouse->globalPos());
    } else if (event->type() == QEvent::ContextMenu) {
        auto* menuEvent = static_cast<QContextMenuEvent*>(event);
        if (menuEvent->reason() != QContextMenuEvent::Mouse) { // mouse clicks open on release
            popUp(view, menuEvent->globalPos());
            return true;
        }
    }
    return false;
}

int ViewContextMenu::viewIndex(QObject* widget) const {
    for (int view = 0; view < DisplayWidgetMulti::viewCount; ++view)
        if (m_display.viewWidget(view) == widget)
            return view;
    return -1;
}

void ViewContextMenu::popUp(int view, const QPoint& globalPosition) {
    std::unique_ptr<QMenu> menu = createMenu(view);
    if (!menu)
        return;
    QMenu* shown = menu.release();
    shown->setAttribute(Qt::WA_DeleteOnClose);
    shown->popup(globalPosition);
}

} // namespace Tarnwick
