// Saves that fail part way (the file-size limit, which fails writes as a full disk does, and a process
// killed while writing), and saves through links.
#include <TarnwickLib/IO/AtomicFileWriter.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"
#include "support/TestImages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>

using namespace Tarnwick;
using ::testing::HasSubstr;
namespace fs = std::filesystem;
namespace Support = Tarnwick::Test;

namespace {

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> listing(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// Runs `save` in a child process whose files may grow to `limitBytes` at most, with SIGXFSZ ignored
/// so that writes past the limit fail with EFBIG; returns the error the save reported.
std::string saveInLimitedChild(rlim_t limitBytes, const std::function<std::string()>& save) {
    int channel[2];
    if (pipe(channel) != 0)
        return "pipe failed";
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{limitBytes, limitBytes};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string error = save();
        [[maybe_unused]] const ssize_t written = write(channel[1], error.data(), error.size());
        _exit(0);
    }
    close(channel[1]);
    std::string error;
    char buffer[256];
    for (ssize_t got; (got = read(channel[0], buffer, sizeof buffer)) > 0;)
        error.append(buffer, static_cast<std::size_t>(got));
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return error;
}

SharedImageSet randomSet(const Eigen::Vector3i& dimensions) {
    return SharedImageSet(std::make_shared<SharedImage>(Support::randomImage(PixelType::Float, dimensions)));
}

std::string writeAtomically(const std::string& path, const std::string& content) {
    AtomicFileWriter writer(path);
    std::string error;
    if (writer.open(error)) {
        writer.stream() << content;
        writer.commit(error);
    }
    return error;
}

} // namespace

// The file-size limit stops a save in the middle: the previous file stays byte-identical, the error
// names the cause, and no temporary is left behind.
TEST(SaveFaults, FileSizeLimitKeepsThePreviousFileAndNamesTheCause) {
    Support::TempDir dir;
    const std::string big(1 << 20, 'x');
    const std::pair<const char*, std::function<std::string(const std::string&)>> savers[] = {
        {"record.bin", [&](const std::string& path) { return writeAtomically(path, big); }},
        {"image.nii",
         [](const std::string& path) {
             return ImageFileIO::save(randomSet({64, 64, 64}), path).error;
         }},
        {"image.nhdr",
         [](const std::string& path) {
             return ImageFileIO::save(randomSet({64, 64, 64}), path).error;
         }},
    };
    for (const auto& saver : savers) {
        const std::string& name = saver.first;
        const auto& save = saver.second; // a plain reference: lambdas cannot capture structured bindings in C++17
        SCOPED_TRACE(name);
        const std::string path = dir.file(name);
        const std::string small = ImageFileIO::isSupported(path) ? save(path) : writeAtomically(path, "previous");
        ASSERT_EQ(small, "");
        const auto before = listing(dir.path());
        std::map<std::string, std::string> contents;
        for (const std::string& file : before)
            contents[file] = readFile(dir.path() / file);
        const std::string error = saveInLimitedChild(256 * 1024, [&] { return save(path); });
        EXPECT_THAT(error, HasSubstr("File too large"));
        EXPECT_EQ(listing(dir.path()), before);
        for (const auto& [file, content] : contents)
            EXPECT_TRUE(readFile(dir.path() / file) == content) << file << " changed";
    }
}

// A save killed while writing leaves its temporary; the next save of that file removes it, while the
// temporary of a save still in progress is left alone.
TEST(SaveFaults, TemporariesOfKilledSavesAreRemovedByTheNextSave) {
    for (const char* name : {"graph.graphml", "image.nii"}) {
        SCOPED_TRACE(name);
        Support::TempDir dir;
        const std::string path = dir.file(name);
        const pid_t child = fork();
        if (child == 0) {
            if (ImageFileIO::isSupported(path)) {
                // Killed by the file-size limit's signal in the middle of the image data.
                const rlimit limit{64 * 1024, 64 * 1024};
                setrlimit(RLIMIT_FSIZE, &limit);
                ImageFileIO::save(randomSet({64, 64, 64}), path);
            } else {
                AtomicFileWriter writer(path);
                std::string error;
                writer.open(error);
                writer.stream() << "half a file" << std::flush;
                raise(SIGKILL);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        ASSERT_EQ(listing(dir.path()).size(), 1u) << "the killed save left no temporary";

        AtomicFileWriter inProgress(path);
        std::string error;
        ASSERT_TRUE(inProgress.open(error)) << error;
        const std::string saved = ImageFileIO::isSupported(path) ? ImageFileIO::save(randomSet({4, 4, 4}), path).error
                                                                 : writeAtomically(path, "complete");
        EXPECT_EQ(saved, "");
        const auto names = listing(dir.path());
        EXPECT_EQ(names.size(), 2u) << "the final file and the temporary of the save in progress";
        EXPECT_EQ(std::count(names.begin(), names.end(), std::string(name)), 1);
    }
}

TEST(SaveFaults, SavingToALinkWritesThroughIt) {
    Support::TempDir dir;
    fs::create_directory(dir.path() / "real");
    for (const char* name : {"graph.graphml", "image.nii"}) {
        SCOPED_TRACE(name);
        const fs::path link = dir.path() / name, target = dir.path() / "real" / name;
        fs::create_symlink(fs::path("real") / name, link); // dangling until the first save
        for (int round = 0; round < 2; ++round) {
            const SharedImageSet set = randomSet({3, 3, 3});
            const std::string error = ImageFileIO::isSupported(link.string())
                                          ? ImageFileIO::save(set, link.string()).error
                                          : writeAtomically(link.string(), std::to_string(round));
            ASSERT_EQ(error, "");
            EXPECT_TRUE(fs::is_symlink(link));
            ASSERT_TRUE(fs::is_regular_file(target));
            if (ImageFileIO::isSupported(link.string())) {
                const auto loaded = ImageFileIO::load(link.string());
                ASSERT_TRUE(loaded) << loaded.error;
                EXPECT_TRUE(Support::sameValues(*set.mem(), *loaded.images->mem()));
            } else {
                EXPECT_EQ(readFile(target), std::to_string(round));
            }
        }
    }
}
