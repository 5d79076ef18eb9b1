#pragma once

#include <TarnwickCore/Progress.h>

#include <iostream>

namespace Tarnwick {

/// Draws progress on a text stream (standard error by default).
///
/// Bar style, for terminals: one line redrawn in place, "description [#####-----]  50% 1.250 s",
/// at most every 100 ms; the finished top-level task stays on screen. Lines style, for logs and
/// pipes: "description..." at the start, "description: 10%" at every further tenth, and
/// "description: done in 1.250 s" at the end; sub-tasks are indented by two spaces per level.
/// Automatic picks Bar when standard error is a terminal, else Lines.
class ConsoleProgress : public Progress {
public:
    enum class Style { Automatic, Bar, Lines };

    explicit ConsoleProgress(std::ostream& out = std::cerr, Style style = Style::Automatic);

protected:
    void taskStarted(const Task& task, int depth) override;
    void percentChanged(const Task& task, int depth, int percent) override;
    void taskEnded(const Task& task, int depth) override;

private:
    void drawBar(const Task& task, int depth, bool finished);
    void printLine(int depth, const std::string& text);

    std::ostream& m_out;
    Style m_style;
    Timer m_sinceDraw;
    std::size_t m_lastBarLength = 0;
    std::vector<int> m_printedTenths; ///< per running task, the last tenth printed in Lines style
};

} // namespace Tarnwick
