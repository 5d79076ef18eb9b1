#pragma once

#include <QWidget>

#include <Eigen/Core>

#include <array>
#include <map>
#include <memory>
#include <vector>

class QGridLayout;
class QUndoStack;

namespace Tarnwick {

class CrosshairObject;
class Data;
class DataDisplayHandler;
class GlImage;
class GlViewWidget;
class Manipulator;

/// The view area of the main window: an axial, a coronal and a sagittal slice view and a 3-D view,
/// laid out 2 x 2 or one of them alone (1 x 1), with one crosshair shared by all of them: moving it
/// (a click in a slice view) moves the other views' slices through the same point, and scrolling a
/// slice view moves the crosshair along with its slice.
///
/// Images (SharedImageSet) are drawn as GlImage, their first image, windowed over their value range;
/// binary masks and label images (modality Label) half transparent in a label colour (label 1 orange,
/// label 0 not drawn), as a maximum-intensity projection in the 3-D view. Every other data set is drawn
/// by its display handler (DataDisplayHandlerFactory) in the views the handler accepts. The widget
/// does not own the data: hide it before destroying it.
///
/// Manipulators added here receive the events of every view (GlViewWidget::addManipulator), and all
/// views redraw after they saw one. Edits they make to data are recorded on undoStack(), the
/// application's undo stack when it set one (null: edits are not recorded).
class DisplayWidgetMulti : public QWidget {
    Q_OBJECT
public:
    enum Layout : int { OneByOne = 0, TwoByTwo = 1 };
    enum ViewIndex : int { Axial = 0, Coronal = 1, Sagittal = 2, Volume = 3 };
    static constexpr int viewCount = 4;

    explicit DisplayWidgetMulti(QWidget* parent = nullptr);
    ~DisplayWidgetMulti() override;

    /// Shows all four views (TwoByTwo) or only `mainView` (OneByOne).
    void setLayoutMode(Layout layout, int mainView = Axial);
    Layout layoutMode() const { return m_layout; }
    int mainView() const { return m_mainView; }
    GlViewWidget* viewWidget(int index) const { return m_views.at(index); }

    /// Adds the data's objects to every view that can show it. The first data shown frames the views
    /// and puts the crosshair at its centre. False when nothing can draw it.
    bool showData(Data& data);
    void hideData(Data& data);
    bool isShown(const Data& data) const { return m_shown.count(&data) != 0; }
    /// Draws a data set again after its contents changed (images are uploaded again).
    void refreshData(const Data& data);
    /// The GlImage drawing an image data set in a view, or null.
    GlImage* imageObject(const Data& data, int view) const;

    void setCrosshair(const Eigen::Vector3d& world);
    const Eigen::Vector3d& crosshair() const { return m_crosshair; }
    void setCrosshairVisible(bool visible);
    /// Frames every view around the data shown and centres the crosshair in it.
    void fitViews();
    /// Keeps the current pictures while shown data is changed elsewhere (see GlViewWidget::setFrozen).
    void setFrozen(bool frozen);
    void updateViews();

    /// Installs a manipulator (not owned) in every view; remove it before destroying it.
    void addManipulator(Manipulator* manipulator);
    void removeManipulator(Manipulator* manipulator);

    /// Where manipulators record their edits for undo; not owned, may be null.
    void setUndoStack(QUndoStack* stack) { m_undoStack = stack; }
    QUndoStack* undoStack() const { return m_undoStack; }

Q_SIGNALS:
    /// refreshData() was called: the data's contents changed outside the views.
    void dataRefreshed(const Data* data);

private:
    struct Shown {
        std::array<std::unique_ptr<GlImage>, viewCount> images; ///< for image data
        DataDisplayHandler* handler = nullptr;                  ///< for everything else
    };
    bool showImage(Data& data, Shown& shown);
    /// Keeps each view's crosshair object drawn last, over the data.
    void raiseCrosshairs();

    std::array<GlViewWidget*, viewCount> m_views{};
    std::array<std::unique_ptr<CrosshairObject>, viewCount> m_crosshairs;
    std::map<const Data*, Shown> m_shown;
    QGridLayout* m_grid = nullptr;
    Layout m_layout = TwoByTwo;
    int m_mainView = Axial;
    Eigen::Vector3d m_crosshair = Eigen::Vector3d::Zero();
    QUndoStack* m_undoStack = nullptr;
};

} // namespace Tarnwick
