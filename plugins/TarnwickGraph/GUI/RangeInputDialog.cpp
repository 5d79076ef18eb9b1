#include <TarnwickGraph/GUI/RangeInputDialog.h>

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <limits>

namespace Tarnwick::detail {

namespace {

QDoubleSpinBox* valueBox(QWidget* parent) {
    auto* box = new QDoubleSpinBox(parent);
    box->setRange(std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
    box->setDecimals(6);
    return box;
}

} // namespace

RangeInputDialog::RangeInputDialog(QWidget* parent) : QDialog(parent), m_min(valueBox(this)), m_max(valueBox(this)) {
    setModal(true);
    setWindowTitle(tr("Color Map Range"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Specify Range for Color Map:"), this));
    auto* form = new QFormLayout;
    form->addRow(tr("Minimum"), m_min);
    form->addRow(tr("Maximum"), m_max);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void RangeInputDialog::setMinValue(double value) {
    m_min->setValue(value);
}

void RangeInputDialog::setMaxValue(double value) {
    m_max->setValue(value);
}

double RangeInputDialog::minValue() const {
    return m_min->value();
}

double RangeInputDialog::maxValue() const {
    return m_max->value();
}

} // namespace Tarnwick::detail
