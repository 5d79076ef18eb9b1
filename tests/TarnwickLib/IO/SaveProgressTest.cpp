#include <TarnwickCore/Progress.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace Tarnwick;

namespace {

/// Records how each top-level task ended.
class EndingProgress : public Progress {
public:
    std::vector<bool> failures;

protected:
    void taskEnded(const Task& task, int depth) override {
        if (depth == 0)
            failures.push_back(task.failed);
    }
};

} // namespace

// A save or load reports its task as done only when the file is in place; otherwise the task ends as failed.
TEST(SaveProgress, FailedSavesEndTheirTaskAsFailed) {
    Tarnwick::Test::TempDir dir;
    EndingProgress progress;
    ASSERT_TRUE(TarnwickFile::save(dir.file("data.tnw"), DataList(), &progress));
    ASSERT_FALSE(TarnwickFile::save(dir.file("missing/data.tnw"), DataList(), &progress));
    // A header announcing one record, and no record.
    std::ofstream(dir.file("bad.tnw"), std::ios::binary) << std::string("TARNWICK\x01\0\0\0\x01\0\0\0", 16);
    ASSERT_FALSE(TarnwickFile::load(dir.file("bad.tnw"), &progress));
    EXPECT_EQ(progress.failures, (std::vector<bool>{false, true, true}));
    EXPECT_EQ(progress.depth(), 0);
}
