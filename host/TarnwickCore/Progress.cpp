#include <TarnwickCore/Progress.h>

#include <algorithm>
#include <limits>

namespace Tarnwick {

void Progress::start(const std::string& description, std::int64_t totalSteps) {
    m_tasks.push_back(Task{description, std::max<std::int64_t>(totalSteps, 0), 0, Timer()});
    taskStarted(m_tasks.back(), depth() - 1);
    m_lastPercent = percentOf(m_tasks.back());
    update();
}

void Progress::setProgress(std::int64_t currentStep) {
    if (m_tasks.empty())
        return;
    Task& task = m_tasks.back();
    task.currentStep = task.totalSteps > 0 ? std::clamp<std::int64_t>(currentStep, 0, task.totalSteps)
                                           : std::max<std::int64_t>(currentStep, 0);
    update();
}

void Progress::step(std::int64_t steps) {
    if (m_tasks.empty())
        return;
    Task& task = m_tasks.back();
    if (steps > 0 && steps < m_nextCheck - task.currentStep) {
        task.currentStep += steps; // the common case: no visible change, no hook
        return;
    }
    setProgress(task.currentStep + steps);
}

void Progress::end() {
    if (m_tasks.empty())
        return;
    taskEnded(m_tasks.back(), depth() - 1);
    m_tasks.pop_back();
    m_lastPercent = m_tasks.empty() ? -1 : percentOf(m_tasks.back());
    if (!m_tasks.empty())
        update();
}

void Progress::fail() {
    if (m_tasks.empty())
        return;
    m_tasks.back().failed = true;
    end();
}

int Progress::percentOf(const Task& task) {
    if (task.totalSteps <= 0)
        return -1;
    // 128-bit products: step counts times 100 may not fit 64 bits.
    return int(static_cast<__int128>(task.currentStep) * 100 / task.totalSteps);
}

void Progress::update() {
    const Task& task = m_tasks.back();
    const int percent = percentOf(task);
    if (percent != m_lastPercent) {
        m_lastPercent = percent;
        percentChanged(task, depth() - 1, percent);
    }
    // First step whose percentage exceeds the current one: ceil((percent + 1) * total / 100).
    m_nextCheck = percent < 0 || percent >= 100
                      ? std::numeric_limits<std::int64_t>::max()
                      : std::int64_t((static_cast<__int128>(percent + 1) * task.totalSteps + 99) / 100);
}

} // namespace Tarnwick
