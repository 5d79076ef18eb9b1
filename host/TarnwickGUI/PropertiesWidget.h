#pragma once

#include <TarnwickCore/Signal.h>

#include <QWidget>

#include <string>
#include <vector>

class QFormLayout;

namespace Tarnwick {

class Configurable;
class ParameterBase;

/// A form over the parameters of a Configurable (an algorithm, a set of display options), one row per
/// parameter in registration order, labelled with the parameter's label and its "tooltip" attribute:
/// - bool: a check box; enumerations: a combo box of their labels ("values" attribute; a line edit
///   for the number when they have none);
/// - colours (4-vectors whose name says "color" or "colour"): a button that opens a colour dialog;
/// - numbers, strings, vectors ("1, 2, 3") and optionals (an empty text unsets them): a line edit
///   applied when editing finishes; a text the parameter refuses stays, marked red, with the reason
///   in its tooltip and in the log;
/// - sub-properties: a group box with a form of their own.
/// Rows whose parameter has the attribute hidden="true" are not shown; the form follows changes of
/// values and attributes made elsewhere (also from another thread, through the event loop). The
/// Configurable must outlive the widget.
class PropertiesWidget : public QWidget, public SignalReceiver {
    Q_OBJECT
public:
    explicit PropertiesWidget(Configurable& configurable, QWidget* parent = nullptr);
    ~PropertiesWidget() override;

    /// The editor of a parameter, members of sub-properties as "group/member"; null when there is none.
    QWidget* editor(const std::string& path) const;

Q_SIGNALS:
    /// The user changed a parameter successfully (its name).
    void parameterEdited(const QString& name);

private:
    struct Row {
        ParameterBase* parameter = nullptr;
        QWidget* label = nullptr;
        QWidget* editor = nullptr;
        PropertiesWidget* group = nullptr;
    };
    void addRow(ParameterBase& parameter, QFormLayout& form);
    QWidget* createEditor(ParameterBase& parameter);
    /// Sets the parameter from text; marks the editor when the text is refused.
    void apply(ParameterBase& parameter, QWidget* editor, const std::string& text);
    void showValue(const Row& row);
    void showAttributes(const Row& row);
    const Row* row(const ParameterBase* parameter) const;

    std::vector<Row> m_rows;
};

} // namespace Tarnwick
