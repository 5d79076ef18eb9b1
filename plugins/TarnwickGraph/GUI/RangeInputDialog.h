#pragma once

#include <QDialog>

class QDoubleSpinBox;

namespace Tarnwick::detail {

/// A modal dialog asking for the value range of a colour map: the prompt "Specify Range for Color
/// Map:", a minimum and a maximum field, OK and Cancel.
class RangeInputDialog : public QDialog {
    Q_OBJECT
public:
    explicit RangeInputDialog(QWidget* parent = nullptr);

    void setMinValue(double value);
    void setMaxValue(double value);
    double minValue() const;
    double maxValue() const;

    QDoubleSpinBox* minBox() const { return m_min; }
    QDoubleSpinBox* maxBox() const { return m_max; }

private:
    QDoubleSpinBox* m_min = nullptr;
    QDoubleSpinBox* m_max = nullptr;
};

} // namespace Tarnwick::detail
