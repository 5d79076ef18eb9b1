#pragma once

#include <TarnwickCore/Log.h>

#include <QWidget>

#include <deque>
#include <memory>

class QComboBox;
class QPlainTextEdit;

namespace Tarnwick {

/// Shows the host log: every message admitted by the log's levels while the panel exists, filtered by
/// a minimum level chosen in the panel (default: information). Messages logged on other threads
/// arrive through the event loop. Keeps the latest `capacity` messages.
class LogPanel : public QWidget {
    Q_OBJECT
public:
    static constexpr std::size_t capacity = 10000;

    explicit LogPanel(QWidget* parent = nullptr);
    ~LogPanel() override;

    /// Lowest level shown.
    void setMinimumLevel(int level);
    int minimumLevel() const;
    /// The text shown now, one message a line.
    QString text() const;

private:
    class Sink;
    void append(const Log::Record& record);
    void rebuild();

    std::shared_ptr<Sink> m_sink;
    std::deque<Log::Record> m_records;
    QComboBox* m_level = nullptr;
    QPlainTextEdit* m_text = nullptr;
};

} // namespace Tarnwick
