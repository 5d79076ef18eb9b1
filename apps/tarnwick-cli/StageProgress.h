#pragma once

#include <TarnwickCore/ConsoleProgress.h>
#include <TarnwickCore/Timer.h>

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Cli {

/// The progress display of `extract`, which also records how long each top-level task (stage) took.
///
/// Bar (standard error is a terminal): one line redrawn in place at most every 100 ms, "stage: sub-task
/// [#####-----]  50% 1.2 s", cleared by finish(). Lines (a pipe or a file): ConsoleProgress's plain
/// lines. Quiet: nothing is drawn; the stage times are still recorded.
class StageProgress : public ConsoleProgress {
public:
    enum class Mode { Bar, Lines, Quiet };
    using Stages = std::vector<std::pair<std::string, double>>;

    /// Bar or Lines by standard error, or Quiet when `quiet`.
    explicit StageProgress(bool quiet);

    /// Clears the bar so that what follows starts on a clean line.
    void finish();

    Stages stages;

protected:
    void taskStarted(const Task& task, int depth) override;
    void percentChanged(const Task& task, int depth, int percent) override;
    void taskEnded(const Task& task, int depth) override;

private:
    void drawBar(const Task& task, int depth, int percent, bool force);

    Mode m_mode;
    std::string m_stage;
    Timer m_sinceDraw;
    std::size_t m_lastLength = 0;
};

} // namespace Tarnwick::Cli
