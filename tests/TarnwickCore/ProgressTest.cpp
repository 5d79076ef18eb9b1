#include <TarnwickCore/ConsoleProgress.h>

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <thread>

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

TEST(ProgressTest, HooksRunOnlyWhenThePercentageChanges) {
    RecordingProgress progress;
    const std::int64_t total = 1000003;
    progress.start("scan", total);
    for (std::int64_t i = 0; i < total; ++i)
        progress.step();
    progress.end();
    ASSERT_EQ(progress.events.size(), 102u); // start, 1..100 %, end
    for (int percent = 1; percent <= 100; ++percent)
        EXPECT_EQ(progress.events[std::size_t(percent)], "scan " + std::to_string(percent));
    EXPECT_EQ(progress.events.back(), "end scan 1000003");
    EXPECT_EQ(progress.depth(), 0);
}

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

TEST(ProgressTest, UnknownLengthReportsNoPercentages) {
    RecordingProgress progress;
    progress.start("open", -3);
    progress.step(10);
    EXPECT_EQ(Progress::percentOf({"x", 0, 5, Timer(false)}), -1);
    progress.end();
    EXPECT_EQ(progress.events, (std::vector<std::string>{"start open 0", "end open 10"}));
}

TEST(ProgressTest, CancelFromAnotherThread) {
    Progress progress;
    progress.start("work", 0);
    EXPECT_FALSE(progress.wasCanceled());
    std::thread([&progress] { progress.cancel(); }).join();
    EXPECT_TRUE(progress.wasCanceled());
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

TEST(ConsoleProgressTest, BarStyleRedrawsInPlaceAndSparingly) {
    std::ostringstream out;
    ConsoleProgress progress(out, ConsoleProgress::Style::Bar);
    progress.start("Extract", 1000);
    for (int i = 0; i < 1000; ++i)
        progress.step();
    progress.end();
    const std::string text = out.str();
    // The loop takes far less than the redraw interval: first draw, the 100 % draw, the final draw.
    EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), 3) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    const std::string last = text.substr(text.rfind('\r') + 1);
    EXPECT_TRUE(std::regex_match(last, std::regex("Extract \\[#{30}\\] 100% [0-9.]+ s\n"))) << last;
}

TEST(ConsoleProgressTest, BarStylePadsShorterLines) {
    std::ostringstream out;
    ConsoleProgress progress(out, ConsoleProgress::Style::Bar);
    progress.start("A much longer description", 0);
    progress.start("Short", 0);
    progress.end();
    progress.end();
    const std::string text = out.str();
    const std::size_t second = text.find('\r', 1);
    const std::size_t third = text.find('\r', second + 1);
    ASSERT_NE(third, std::string::npos) << text;
    EXPECT_EQ(third - second, text.find('\r', 1)) << text; // same length as the first line: padded
    EXPECT_NE(text.find("A much longer description done"), std::string::npos);
}

} // namespace
} // namespace Tarnwick
