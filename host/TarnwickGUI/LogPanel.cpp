#include <TarnwickGUI/LogPanel.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace Tarnwick {

/// Forwards records to the panel on its thread. The panel removes the sink before it is destroyed,
/// and a queued call to a destroyed panel is dropped by Qt.
class LogPanel::Sink : public Log::Sink {
public:
    explicit Sink(LogPanel* panel) : m_panel(panel) {}
    void write(const Log::Record& record) override {
        QMetaObject::invokeMethod(
            m_panel, [panel = m_panel, record] { panel->append(record); }, Qt::QueuedConnection);
    }

private:
    LogPanel* m_panel;
};

namespace {

QString format(const Log::Record& record) {
    QString line = QString("[%1] ").arg(Log::levelName(record.level));
    if (!record.category.empty())
        line += QString::fromStdString(record.category) + ": ";
    return line + QString::fromStdString(record.message);
}

} // namespace

LogPanel::LogPanel(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    auto* filterRow = new QHBoxLayout;
    filterRow->addWidget(new QLabel(tr("Show from level:"), this));
    m_level = new QComboBox(this);
    for (int level = Log::Trace; level <= Log::Fatal; ++level)
        m_level->addItem(Log::levelName(level), level);
    m_level->setCurrentIndex(Log::Info);
    connect(m_level, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &LogPanel::rebuild);
    filterRow->addWidget(m_level);
    filterRow->addStretch();
    layout->addLayout(filterRow);
    m_text = new QPlainTextEdit(this);
    m_text->setReadOnly(true);
    m_text->setMaximumBlockCount(int(capacity));
    layout->addWidget(m_text);

    m_sink = std::make_shared<Sink>(this);
    Log::addSink(m_sink);
}

LogPanel::~LogPanel() {
    Log::removeSink(m_sink);
}

void LogPanel::setMinimumLevel(int level) {
    m_level->setCurrentIndex(std::clamp(level, int(Log::Trace), int(Log::Fatal)));
}

int LogPanel::minimumLevel() const {
    return m_level->currentIndex();
}

QString LogPanel::text() const {
    return m_text->toPlainText();
}

void LogPanel::append(const Log::Record& record) {
    m_records.push_back(record);
    if (m_records.size() > capacity)
        m_records.pop_front();
    if (record.level >= minimumLevel())
        m_text->appendPlainText(format(record));
}

void LogPanel::rebuild() {
    m_text->clear();
    for (const Log::Record& record : m_records)
        if (record.level >= minimumLevel())
            m_text->appendPlainText(format(record));
}

} // namespace Tarnwick
