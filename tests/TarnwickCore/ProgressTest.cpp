#include <TarnwickCore/ConsoleProgress.h>

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace Tarnwick {
namespace {

// Records every hook call as text.
class RecordingProgress : public Progress {
public:
    std::vector<std::string> events;

protected:
    void taskStarted(const Task& task, int depth) override {
        events.push_back("start " + task.description + " " + std::to_string(depth));
    }
    void percentChanged(const Task& task, int depth, int percent) override {
        events.push_back(task.description + " " + std::to_string(percent));
    }
    void taskEnded(const Task& task, int depth) override {
        events.push_back("end " + task.description + " " + std::to_string(task.currentStep));
    }
};

TEST(ProgressTest, PercentagesAreExactAtTheirBoundaries) {
    RecordingProgress progress;
    progress.start("t", 3);
    progress.step(); // 33 %
    progress.step(); // 66 %
    progress.step(); // 100 %
    progress.step(); // beyond the total: clamped, no new event
    progress.setProgress(1);
    progress.setProgress(-5);
    EXPECT_EQ(progress.events, (std::vector<std::string>{"start t 0", "t 33", "t 66", "t 100", "t 33", "t 0"}));
}

TEST(ProgressTest, HugeTotalsDoNotOverflow) {
    RecordingProgress progress;
    const std::int64_t total = std::numeric_limits<std::int64_t>::max() / 4 * 4;
    progress.start("huge", total);
    progress.setProgress(total / 2);
    progress.step(total / 4);
    progress.setProgress(total);
    EXPECT_EQ(progress.events, (std::vector<std::string>{"start huge 0", "huge 50", "huge 75", "huge 100"}));
}

TEST(ProgressTest, NestedTasksReportTheInnermost) {
    RecordingProgress progress;
    progress.start("outer", 2);
    progress.start("inner", 4);
    EXPECT_EQ(progress.depth(), 2);
    progress.step(2);
    progress.end();
    progress.step();
    progress.end();
    progress.end(); // nothing running: ignored
    progress.step();
    EXPECT_EQ(progress.events, (std::vector<std::string>{"start outer 0", "start inner 1", "inner 50", "end inner 2",
                                                         "outer 50", "end outer 1"}));
}

TEST(ConsoleProgressTest, LinesStylePrintsStartTenthsAndDone) {
    std::ostringstream out;
    ConsoleProgress progress(out, ConsoleProgress::Style::Lines);
    progress.start("Thinning", 200);
    progress.step(5);  // 2 %: nothing
    progress.step(45); // 25 %: the 10 % and 20 % lines collapse into one
    progress.start("Labelling", 0);
    progress.end();
    for (int i = 0; i < 150; ++i)
        progress.step();
    progress.end();
    const std::regex expected("Thinning\\.\\.\\.\n"
                              "Thinning: 20%\n"
                              "  Labelling\\.\\.\\.\n"
                              "  Labelling: done in [0-9.]+ s\n"
                              "Thinning: 30%\nThinning: 40%\nThinning: 50%\nThinning: 60%\n"
                              "Thinning: 70%\nThinning: 80%\nThinning: 90%\n"
                              "Thinning: done in [0-9.]+ s\n");
    EXPECT_TRUE(std::regex_match(out.str(), expected)) << out.str();
}

} // namespace
} // namespace Tarnwick
