#include <TarnwickCore/Filesystem.h>

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace Tarnwick {
namespace {

using Filesystem::Path;

TEST(FilesystemTest, PathParts) {
    const Path path("data/Vessels.NII.GZ");
    EXPECT_EQ(path.filename(), "Vessels.NII.GZ");
    EXPECT_EQ(path.extension(), "gz");
    EXPECT_EQ(path.parent(), Path("data"));
    EXPECT_EQ(Path("tree.GraphML").extension(), "graphml");
    EXPECT_EQ(Path(".profile").extension(), "");
    EXPECT_EQ(Path("file").parent().string(), "");
    EXPECT_EQ(Path("a").join("b/c.tnw").string(), "a/b/c.tnw");
    EXPECT_EQ(Path("a").join("/abs").string(), "/abs");
}

TEST(FilesystemTest, ExistenceOfFilesAndFolders) {
    Tarnwick::Test::TempDir dir;
    const Path folder(dir.path());
    const Path file = folder.join("graph.tnw");
    EXPECT_TRUE(folder.exists());
    EXPECT_FALSE(File::exists(folder)); // a folder is not a file
    EXPECT_FALSE(File::exists(file));
    std::ofstream(file.string()) << "x";
    EXPECT_TRUE(file.exists());
    EXPECT_FALSE(File::exists(Path()));
    EXPECT_FALSE(File::exists(std::string(5000, 'a'))); // too long a name: false, not an exception
}

} // namespace
} // namespace Tarnwick
