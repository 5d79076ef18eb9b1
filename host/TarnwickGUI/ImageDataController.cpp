#include <TarnwickGUI/ImageDataController.h>

#include <TarnwickGL/GlImage.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

ImageDataController::ImageDataController(SharedImageSet& image, DisplayWidgetMulti& display, QWidget* parent)
    : DataController(image, parent), m_display(display) {
    auto* form = new QFormLayout(this);
    GlImage* shown = display.imageObject(image, DisplayWidgetMulti::Axial);
    const auto [low, high] = image.get(0)->mem()->minMax();
    const double range = std::max(1.0, high - low);
    const auto makeBox = [&](double minimum, double maximum, double value) {
        auto* box = new QDoubleSpinBox(this);
        box->setDecimals(range < 10.0 ? 4 : 1);
        box->setRange(minimum, maximum);
        box->setSingleStep(range / 100.0);
        box->setValue(value);
        box->setKeyboardTracking(false); // apply when typing is done, not on every digit
        connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &ImageDataController::apply);
        return box;
    };
    m_window = makeBox(range * 1e-4, 4.0 * range, shown ? shown->window() : range);
    m_level = makeBox(low - 2.0 * range, high + 2.0 * range, shown ? shown->level() : 0.5 * (low + high));
    m_colormap = new QComboBox(this);
    for (const Colormap::Preset preset : Colormap::presets())
        m_colormap->addItem(QString::fromStdString(Colormap::name(preset)), int(preset));
    if (shown)
        m_colormap->setCurrentIndex(m_colormap->findData(int(shown->colormap().preset())));
    connect(m_colormap, QOverload<int>::of(&QComboBox::activated), this, &ImageDataController::apply);
    m_opacity = makeBox(0.0, 1.0, shown ? shown->opacity() : 1.0);
    m_opacity->setDecimals(2);
    m_opacity->setSingleStep(0.1);
    form->addRow(tr("Window"), m_window);
    form->addRow(tr("Level"), m_level);
    form->addRow(tr("Colour map"), m_colormap);
    form->addRow(tr("Opacity"), m_opacity);
}

void ImageDataController::apply() {
    const auto preset = static_cast<Colormap::Preset>(m_colormap->currentData().toInt());
    for (int view = 0; view < DisplayWidgetMulti::viewCount; ++view) {
        GlImage* image = m_display.imageObject(data(), view);
        if (!image)
            continue;
        image->setWindowLevel(m_window->value(), m_level->value());
        image->setOpacity(m_opacity->value());
        if (image->colormap().preset() != preset)
            m_display.viewWidget(view)->withContext([&] { image->colormap().setPreset(preset); });
    }
    m_display.updateViews();
}

} // namespace Tarnwick
