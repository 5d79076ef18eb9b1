#include "StageProgress.h"

#include <fmt/format.h>

#include <unistd.h>

#include <iostream>

namespace Tarnwick::Cli {

namespace {
constexpr double redrawIntervalMs = 100.0;
constexpr int barWidth = 24;
} // namespace

StageProgress::StageProgress(bool quiet)
    : ConsoleProgress(std::cerr, Style::Lines), m_mode(quiet                     ? Mode::Quiet
                                                       : ::isatty(STDERR_FILENO) ? Mode::Bar
                                                                                 : Mode::Lines),
      m_sinceDraw(false) {}

void StageProgress::taskStarted(const Task& task, int depth) {
    if (depth == 0)
        m_stage = task.description;
    if (m_mode == Mode::Lines)
        ConsoleProgress::taskStarted(task, depth);
    else if (m_mode == Mode::Bar)
        drawBar(task, depth, percentOf(task), depth == 0);
}

void StageProgress::percentChanged(const Task& task, int depth, int percent) {
    if (m_mode == Mode::Lines)
        ConsoleProgress::percentChanged(task, depth, percent);
    else if (m_mode == Mode::Bar)
        drawBar(task, depth, percent, false);
}

void StageProgress::taskEnded(const Task& task, int depth) {
    if (depth == 0)
        stages.emplace_back(task.description, task.timer.elapsedSeconds());
    if (m_mode == Mode::Lines)
        ConsoleProgress::taskEnded(task, depth);
}

void StageProgress::finish() {
    if (m_mode != Mode::Bar || m_lastLength == 0)
        return;
    std::cerr << '\r' << std::string(m_lastLength, ' ') << '\r' << std::flush;
    m_lastLength = 0;
}

void StageProgress::drawBar(const Task& task, int depth, int percent, bool force) {
    if (!force && m_sinceDraw.isRunning() && m_sinceDraw.elapsedMs() < redrawIntervalMs)
        return;
    std::string line = depth == 0 ? m_stage : m_stage + ": " + task.description;
    if (percent >= 0) {
        const int filled = percent * barWidth / 100;
        line += fmt::format(" [{}{}] {:3}%", std::string(std::size_t(filled), '#'),
                            std::string(std::size_t(barWidth - filled), '-'), percent);
    }
    line += " " + task.timer.formatted();
    const std::size_t length = line.size();
    if (length < m_lastLength)
        line.append(m_lastLength - length, ' ');
    m_lastLength = length;
    std::cerr << '\r' << line << std::flush;
    m_sinceDraw.start();
}

} // namespace Tarnwick::Cli
