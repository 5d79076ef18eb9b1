#include <TarnwickCore/ConsoleProgress.h>

#include <fmt/format.h>

#include <unistd.h>

namespace Tarnwick {

namespace {
constexpr double redrawIntervalMs = 100.0;
constexpr int barWidth = 30;
} // namespace

ConsoleProgress::ConsoleProgress(std::ostream& out, Style style) : m_out(out), m_style(style), m_sinceDraw(false) {
    if (m_style == Style::Automatic)
        m_style = ::isatty(STDERR_FILENO) ? Style::Bar : Style::Lines;
}

void ConsoleProgress::taskStarted(const Task& task, int depth) {
    if (m_style == Style::Bar) {
        drawBar(task, depth, false);
        return;
    }
    m_printedTenths.push_back(0);
    printLine(depth, task.description + "...");
}

void ConsoleProgress::percentChanged(const Task& task, int depth, int percent) {
    if (m_style == Style::Bar) {
        if (!m_sinceDraw.isRunning() || m_sinceDraw.elapsedMs() >= redrawIntervalMs || percent == 100)
            drawBar(task, depth, false);
        return;
    }
    const int tenth = percent / 10;
    if (percent < 100 && tenth > m_printedTenths.back()) {
        m_printedTenths.back() = tenth;
        printLine(depth, fmt::format("{}: {}%", task.description, tenth * 10));
    }
}

void ConsoleProgress::taskEnded(const Task& task, int depth) {
    if (m_style == Style::Lines) {
        m_printedTenths.pop_back();
        printLine(depth, fmt::format("{}: {} {}", task.description, task.failed ? "failed after" : "done in",
                                     task.timer.formatted()));
        return;
    }
    if (depth > 0)
        return; // the enclosing task's bar replaces it on its next redraw
    drawBar(task, depth, true);
    m_out << '\n' << std::flush;
    m_lastBarLength = 0;
}

void ConsoleProgress::drawBar(const Task& task, int depth, bool finished) {
    const int percent = task.failed ? -1 : finished && task.totalSteps > 0 ? 100 : percentOf(task);
    std::string line = std::string(std::size_t(2 * depth), ' ') + task.description;
    if (percent >= 0) {
        const int filled = percent * barWidth / 100;
        line += fmt::format(" [{}{}] {:3}%", std::string(std::size_t(filled), '#'),
                            std::string(std::size_t(barWidth - filled), '-'), percent);
    } else if (finished) {
        line += task.failed ? " failed" : " done";
    }
    line += " " + task.timer.formatted();
    const std::size_t length = line.size();
    if (length < m_lastBarLength)
        line.append(m_lastBarLength - length, ' '); // clear what the previous, longer line left
    m_lastBarLength = length;
    m_out << '\r' << line << std::flush;
    m_sinceDraw.start();
}

void ConsoleProgress::printLine(int depth, const std::string& text) {
    m_out << std::string(std::size_t(2 * depth), ' ') << text << '\n' << std::flush;
}

} // namespace Tarnwick
