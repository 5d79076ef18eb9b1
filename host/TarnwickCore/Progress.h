#pragma once

#include <TarnwickCore/Timer.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// Progress reporting and cancellation for long operations.
///
/// An operation calls start(description, totalSteps), then step() or setProgress() as it works,
/// checks wasCanceled() now and then, and calls end(), or fail() when it gave up. Starting while a task runs begins a
/// nested sub-task; end() closes the innermost one. A plain Progress only tracks state and cancellation (use it where
/// nobody watches); subclasses draw it through the protected hooks, which are called only when the innermost task's
/// whole percentage changes, so step() is cheap in tight loops.
///
/// The reporting functions are meant for one thread; cancel() and wasCanceled() may be called
/// from any thread.
class Progress {
public:
    struct Task {
        std::string description;
        std::int64_t totalSteps = 0; ///< 0 when the length is unknown
        std::int64_t currentStep = 0;
        Timer timer;
        bool failed = false; ///< set by fail(), so that taskEnded can tell a failure from success
    };

    Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    virtual ~Progress() = default;

    /// Begins a task (nested when another one runs). A negative total counts as unknown.
    void start(const std::string& description, std::int64_t totalSteps = 0);
    /// Sets the finished steps of the innermost task, clamped to [0, totalSteps] for a known total.
    void setProgress(std::int64_t currentStep);
    /// Advances the innermost task by `steps`.
    void step(std::int64_t steps = 1);
    /// Ends the innermost task; no effect when none runs.
    void end();
    /// Ends the innermost task as failed (it is not reported as done); no effect when none runs.
    void fail();

    /// Asks the operation to stop at its next check.
    void cancel() { m_canceled.store(true); }
    bool wasCanceled() const { return m_canceled.load(); }

    /// Number of running tasks (0 when idle).
    int depth() const { return int(m_tasks.size()); }
    /// Whole percentage of a task of known length (0-100), or -1 when the length is unknown.
    static int percentOf(const Task& task);

protected:
    /// `depth` is 0 for a top-level task, 1 for its sub-task, and so on.
    virtual void taskStarted(const Task& task, int depth) {}
    virtual void percentChanged(const Task& task, int depth, int percent) {}
    /// Called before the task is removed; task.timer still runs.
    virtual void taskEnded(const Task& task, int depth) {}

private:
    /// Calls percentChanged when the innermost percentage changed and sets the next step to check.
    void update();

    std::vector<Task> m_tasks;
    int m_lastPercent = -1;
    std::int64_t m_nextCheck = 0; ///< step of the innermost task at which its percentage next changes
    std::atomic<bool> m_canceled{false};
};

} // namespace Tarnwick
