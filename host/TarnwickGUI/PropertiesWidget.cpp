#include <TarnwickGUI/PropertiesWidget.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Algorithm/ParameterText.h>

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cctype>

namespace Tarnwick {

namespace {

bool isColor(const ParameterBase& parameter) {
    std::string name = parameter.name();
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    const bool named = name.find("color") != std::string::npos || name.find("colour") != std::string::npos;
    return named && (parameter.typeName() == "vec4d" || parameter.typeName() == "vec4f");
}

QColor toColor(const std::string& text) {
    Eigen::Vector4d rgba = Eigen::Vector4d::Ones();
    ParameterText::parse(text, rgba);
    rgba = rgba.cwiseMax(0.0).cwiseMin(1.0);
    return QColor::fromRgbF(rgba[0], rgba[1], rgba[2], rgba[3]);
}

std::string toText(const QColor& color) {
    return ParameterText::format(Eigen::Vector4d(color.redF(), color.greenF(), color.blueF(), color.alphaF()));
}

void showColor(QPushButton& button, const QColor& color) {
    button.setStyleSheet(QString("background-color: %1").arg(color.name()));
    button.setText(color.name());
}

} // namespace

PropertiesWidget::PropertiesWidget(Configurable& configurable, QWidget* parent) : QWidget(parent) {
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    for (ParameterBase* parameter : configurable.parameters())
        addRow(*parameter, *form);
}

PropertiesWidget::~PropertiesWidget() = default;

void PropertiesWidget::addRow(ParameterBase& parameter, QFormLayout& form) {
    Row row;
    row.parameter = &parameter;
    if (Configurable* group = parameter.group()) {
        auto* box = new QGroupBox(QString::fromStdString(parameter.label()), this);
        auto* layout = new QVBoxLayout(box);
        row.group = new PropertiesWidget(*group, box);
        layout->addWidget(row.group);
        connect(row.group, &PropertiesWidget::parameterEdited, this, [this, &parameter](const QString& name) {
            Q_EMIT parameterEdited(QString::fromStdString(parameter.name()) + "/" + name);
        });
        row.editor = box;
        form.addRow(box);
    } else {
        row.label = new QLabel(QString::fromStdString(parameter.label()), this);
        row.editor = createEditor(parameter);
        form.addRow(row.label, row.editor);
    }
    m_rows.push_back(row);
    showValue(row);
    showAttributes(row);
    // Values and attributes may change on the computing thread: show them through the event loop.
    parameter.signalValueChanged.connect(this, [this, &parameter] {
        QMetaObject::invokeMethod(this, [this, &parameter] {
            if (const Row* r = this->row(&parameter))
                showValue(*r);
        });
    });
    parameter.signalAttributeChanged.connect(this, [this, &parameter](const std::string&) {
        QMetaObject::invokeMethod(this, [this, &parameter] {
            if (const Row* r = this->row(&parameter))
                showAttributes(*r);
        });
    });
}

QWidget* PropertiesWidget::createEditor(ParameterBase& parameter) {
    const std::string type = parameter.typeName();
    if (type == "bool") {
        auto* box = new QCheckBox(this);
        connect(box, &QCheckBox::toggled, this,
                [this, &parameter, box](bool on) { apply(parameter, box, on ? "true" : "false"); });
        return box;
    }
    if (type == "enum" && !ParameterText::enumLabels(parameter.attribute("values")).empty()) {
        auto* combo = new QComboBox(this);
        connect(combo, QOverload<int>::of(&QComboBox::activated), this,
                [this, &parameter, combo](int) { apply(parameter, combo, combo->currentText().toStdString()); });
        return combo;
    }
    if (isColor(parameter)) {
        auto* button = new QPushButton(this);
        connect(button, &QPushButton::clicked, this, [this, &parameter, button] {
            const QColor chosen =
                QColorDialog::getColor(toColor(parameter.toString()), this, QString::fromStdString(parameter.label()),
                                       QColorDialog::ShowAlphaChannel);
            if (chosen.isValid())
                apply(parameter, button, toText(chosen));
        });
        return button;
    }
    auto* edit = new QLineEdit(this);
    if (type.rfind("optional", 0) == 0)
        edit->setPlaceholderText(ParameterText::noneText);
    connect(edit, &QLineEdit::editingFinished, this,
            [this, &parameter, edit] { apply(parameter, edit, edit->text().toStdString()); });
    return edit;
}

void PropertiesWidget::apply(ParameterBase& parameter, QWidget* editor, const std::string& text) {
    const std::string before = parameter.toString();
    if (const auto error = parameter.setFromString(text)) {
        editor->setStyleSheet("background-color: #f4c7c3");
        editor->setToolTip(QString::fromStdString(*error));
        TW_LOG_WARN("{}", *error);
        return;
    }
    editor->setStyleSheet({});
    editor->setToolTip(QString::fromStdString(parameter.attribute("tooltip")));
    if (const Row* r = row(&parameter))
        showValue(*r);
    if (parameter.toString() != before)
        Q_EMIT parameterEdited(QString::fromStdString(parameter.name()));
}

void PropertiesWidget::showValue(const Row& row) {
    if (row.group)
        return;
    const QString text = QString::fromStdString(row.parameter->toString());
    const QSignalBlocker blocker(row.editor);
    if (auto* box = qobject_cast<QCheckBox*>(row.editor))
        box->setChecked(text == "true");
    else if (auto* combo = qobject_cast<QComboBox*>(row.editor))
        combo->setCurrentText(text);
    else if (auto* button = qobject_cast<QPushButton*>(row.editor))
        showColor(*button, toColor(text.toStdString()));
    else if (auto* edit = qobject_cast<QLineEdit*>(row.editor); edit && !edit->hasFocus())
        edit->setText(text == ParameterText::noneText && row.parameter->typeName().rfind("optional", 0) == 0 ? QString()
                                                                                                             : text);
}

void PropertiesWidget::showAttributes(const Row& row) {
    const QString tooltip = QString::fromStdString(row.parameter->attribute("tooltip"));
    const bool shown = row.parameter->attribute("hidden") != "true";
    for (QWidget* widget : {row.label, row.editor}) {
        if (!widget)
            continue;
        widget->setToolTip(tooltip);
        widget->setVisible(shown);
    }
    if (auto* combo = qobject_cast<QComboBox*>(row.editor)) {
        const QSignalBlocker blocker(combo);
        combo->clear();
        for (const std::string& label : ParameterText::enumLabels(row.parameter->attribute("values")))
            combo->addItem(QString::fromStdString(label));
        combo->setCurrentText(QString::fromStdString(row.parameter->toString()));
    }
}

const PropertiesWidget::Row* PropertiesWidget::row(const ParameterBase* parameter) const {
    const auto it = std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& r) { return r.parameter == parameter; });
    return it == m_rows.end() ? nullptr : &*it;
}

QWidget* PropertiesWidget::editor(const std::string& path) const {
    const auto slash = path.find('/');
    const std::string head = path.substr(0, slash);
    for (const Row& r : m_rows) {
        if (r.parameter->name() != head)
            continue;
        if (slash == std::string::npos)
            return r.editor;
        return r.group ? r.group->editor(path.substr(slash + 1)) : nullptr;
    }
    return nullptr;
}

} // namespace Tarnwick
