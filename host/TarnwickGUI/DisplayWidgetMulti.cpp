#include <TarnwickGUI/DisplayWidgetMulti.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGL/GlImage.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGUI/CrosshairObject.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <QGridLayout>

#include <algorithm>

namespace Tarnwick {

namespace {

const Eigen::Vector4f background(0.08f, 0.08f, 0.1f, 1.0f);

/// Binary masks and label images (modality Label) get a label colour instead of a grey ramp.
bool isLabelImage(const SharedImageSet& set, double low, double high) {
    const PixelType type = set.get(0)->descriptor().pixelType;
    const bool integral = type != PixelType::Float && type != PixelType::Double;
    return set.modality() == Data::Label || (integral && low >= 0.0 && high <= 1.0);
}

void configureImage(GlImage& image, const SharedImageSet& set) {
    const auto [low, high] = set.get(0)->mem()->minMax();
    if (isLabelImage(set, low, high)) {
        // Hot iron with label 1 orange (t = 3/4), higher labels white; half transparent and label 0 not
        // drawn, so the scan under a mask stays visible.
        image.colormap().setPreset(Colormap::HotIron);
        image.setWindowLevel(4.0 / 3.0, 2.0 / 3.0);
        image.setLabelMode(true);
        image.setOpacity(0.5);
    } else {
        image.setWindowLevel(high > low ? high - low : 1.0, high > low ? 0.5 * (low + high) : low);
    }
}

/// Voxel size of the image's first image along a world direction: the spacing of the voxel axis most
/// parallel to it.
double spacingAlong(const SharedImageSet& set, const Eigen::Vector3d& direction) {
    const Eigen::Matrix3d axes = set.get(0)->matrixToWorld().topLeftCorner<3, 3>();
    const Eigen::Vector3d& spacing = set.get(0)->descriptor().spacing;
    int best = 0;
    double bestCosine = -1.0;
    for (int i = 0; i < 3; ++i) {
        const double cosine = std::abs(axes.col(i).normalized().dot(direction));
        if (cosine > bestCosine) {
            bestCosine = cosine;
            best = i;
        }
    }
    return spacing[best];
}

} // namespace

DisplayWidgetMulti::DisplayWidgetMulti(QWidget* parent) : QWidget(parent), m_grid(new QGridLayout(this)) {
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(2);
    for (int i = 0; i < viewCount; ++i) {
        std::unique_ptr<GlView> view;
        if (i == Volume)
            view = std::make_unique<GlVolumeView>();
        else
            view = std::make_unique<GlSliceView>(static_cast<GlSliceView::Orientation>(i));
        view->setBackgroundColor(background);
        m_views[i] = new GlViewWidget(std::move(view), this);
        m_crosshairs[i] = std::make_unique<CrosshairObject>();
        m_views[i]->view().addObject(m_crosshairs[i].get());
        connect(m_views[i], &GlViewWidget::crosshairRequested, this, &DisplayWidgetMulti::setCrosshair);
        connect(m_views[i], &GlViewWidget::slicePositionChanged, this, &DisplayWidgetMulti::setCrosshair);
        connect(m_views[i], &GlViewWidget::manipulatorsNotified, this, &DisplayWidgetMulti::updateViews);
    }
    setLayoutMode(TwoByTwo);
}

DisplayWidgetMulti::~DisplayWidgetMulti() {
    for (int i = 0; i < viewCount; ++i) {
        m_views[i]->withContext([&] {
            for (auto& [data, shown] : m_shown) {
                if (shown.handler)
                    shown.handler->hide(*const_cast<Data*>(data), m_views[i]->view());
                shown.images[i].reset();
            }
            m_crosshairs[i].reset();
        });
    }
}

void DisplayWidgetMulti::setLayoutMode(Layout layout, int mainView) {
    m_layout = layout;
    m_mainView = std::clamp(mainView, 0, viewCount - 1);
    for (GlViewWidget* view : m_views)
        m_grid->removeWidget(view);
    for (int i = 0; i < viewCount; ++i) {
        const bool visible = layout == TwoByTwo || i == m_mainView;
        m_views[i]->setVisible(visible);
        if (layout == TwoByTwo)
            m_grid->addWidget(m_views[i], i / 2, i % 2);
        else if (visible)
            m_grid->addWidget(m_views[i], 0, 0);
    }
}

bool DisplayWidgetMulti::showData(Data& data) {
    if (isShown(data))
        return true;
    Shown shown;
    if (dynamic_cast<SharedImageSet*>(&data)) {
        if (!showImage(data, shown))
            return false;
    } else {
        shown.handler = DataDisplayHandlerFactory::instance().handlerFor(data);
        if (!shown.handler)
            return false;
        // Data that only a flat 2-D presentation shows (a 2-D graph) turns the axial view flat.
        GlSliceView* axial = m_views[Axial]->sliceView();
        const bool anyView = std::any_of(m_views.begin(), m_views.end(), [&](GlViewWidget* view) {
            return shown.handler->canBeShownInView(data, view->view());
        });
        if (!anyView && axial && axial->isFlat()) {
            axial->setFlat(false);
            if (!shown.handler->canBeShownInView(data, *axial))
                axial->setFlat(true);
            else
                TW_LOG_INFO("The axial view now shows 2-D data in the flat presentation");
        }
        for (GlViewWidget* view : m_views)
            if (shown.handler->canBeShownInView(data, view->view()))
                view->withContext([&] { shown.handler->show(data, view->view()); });
    }
    const bool first = m_shown.empty();
    m_shown.emplace(&data, std::move(shown));
    raiseCrosshairs();
    if (first)
        fitViews();
    updateViews();
    return true;
}

bool DisplayWidgetMulti::showImage(Data& data, Shown& shown) {
    auto& set = static_cast<SharedImageSet&>(data);
    if (set.size() == 0)
        return false;
    for (int i = 0; i < viewCount; ++i) {
        shown.images[i] = std::make_unique<GlImage>(set.getShared(0));
        configureImage(*shown.images[i], set);
        // In 3-D a mask shows best as its projection, behind the objects drawn after it.
        if (i == Volume && shown.images[i]->colormap().preset() == Colormap::HotIron)
            shown.images[i]->setMode(GlImage::MIP);
        shown.images[i]->setFocusPoint(m_crosshair);
        m_views[i]->view().addObject(shown.images[i].get());
    }
    return true;
}

void DisplayWidgetMulti::hideData(Data& data) {
    const auto it = m_shown.find(&data);
    if (it == m_shown.end())
        return;
    for (int i = 0; i < viewCount; ++i) {
        m_views[i]->withContext([&] {
            if (it->second.handler)
                it->second.handler->hide(data, m_views[i]->view());
            if (it->second.images[i]) {
                m_views[i]->view().removeObject(it->second.images[i].get());
                it->second.images[i].reset();
            }
        });
    }
    m_shown.erase(it);
    updateViews();
}

void DisplayWidgetMulti::refreshData(const Data& data) {
    Q_EMIT dataRefreshed(&data);
    const auto it = m_shown.find(&data);
    if (it == m_shown.end())
        return;
    for (auto& image : it->second.images)
        if (image)
            image->invalidate();
    updateViews();
}

GlImage* DisplayWidgetMulti::imageObject(const Data& data, int view) const {
    const auto it = m_shown.find(&data);
    return it == m_shown.end() || view < 0 || view >= viewCount ? nullptr : it->second.images[view].get();
}

void DisplayWidgetMulti::setCrosshair(const Eigen::Vector3d& world) {
    m_crosshair = world;
    for (int i = 0; i < viewCount; ++i) {
        if (GlSliceView* slice = m_views[i]->sliceView())
            slice->setSlicePosition(world);
        m_crosshairs[i]->setPosition(world);
    }
    for (auto& entry : m_shown)
        for (auto& image : entry.second.images)
            if (image)
                image->setFocusPoint(world);
    updateViews();
}

void DisplayWidgetMulti::setCrosshairVisible(bool visible) {
    for (auto& crosshair : m_crosshairs)
        crosshair->setVisible(visible);
    updateViews();
}

void DisplayWidgetMulti::fitViews() {
    Geometry::AlignedBox box;
    std::vector<const SharedImageSet*> images;
    for (const auto& [data, shown] : m_shown) {
        box.addBox(data->bounds());
        if (const auto* set = dynamic_cast<const SharedImageSet*>(data))
            images.push_back(set);
    }
    if (box.isEmpty())
        return;
    for (GlViewWidget* view : m_views) {
        view->view().fitToBounds(box);
        GlSliceView* slice = view->sliceView();
        if (!slice)
            continue;
        // The wheel moves by the finest voxel size along the view's normal; the slab, two of the
        // coarsest thick, shows 3-D objects around the slice.
        double finest = 0.0, coarsest = 0.0;
        for (const SharedImageSet* set : images) {
            const double step = spacingAlong(*set, slice->normal());
            finest = finest > 0.0 ? std::min(finest, step) : step;
            coarsest = std::max(coarsest, step);
        }
        view->setSliceStep(finest > 0.0 ? finest : 1.0);
        slice->setSlabThickness(std::max(2.0, 2.0 * coarsest));
    }
    setCrosshair(box.center());
}

void DisplayWidgetMulti::setFrozen(bool frozen) {
    for (GlViewWidget* view : m_views)
        view->setFrozen(frozen);
}

void DisplayWidgetMulti::updateViews() {
    for (GlViewWidget* view : m_views)
        view->update();
}

void DisplayWidgetMulti::addManipulator(Manipulator* manipulator) {
    for (GlViewWidget* view : m_views)
        view->addManipulator(manipulator);
}

void DisplayWidgetMulti::removeManipulator(Manipulator* manipulator) {
    for (GlViewWidget* view : m_views)
        view->removeManipulator(manipulator);
}

void DisplayWidgetMulti::raiseCrosshairs() {
    for (int i = 0; i < viewCount; ++i) {
        m_views[i]->view().removeObject(m_crosshairs[i].get());
        m_views[i]->view().addObject(m_crosshairs[i].get());
    }
}

} // namespace Tarnwick
