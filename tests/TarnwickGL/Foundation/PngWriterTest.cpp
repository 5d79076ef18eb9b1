#include "support/TempDir.h"

#include <TarnwickGL/PngWriter.h>

#include <gtest/gtest.h>
#include <png.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sys/resource.h>

namespace Tarnwick {
namespace {

// Reads a PNG file as 8-bit RGBA with libpng; empty on failure.
std::vector<std::uint8_t> readRgba(const std::string& path, int& width, int& height) {
    png_image image;
    std::memset(&image, 0, sizeof(image));
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str()))
        return {};
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr))
        return {};
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    return pixels;
}

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::uint8_t> noise(int width, int height) {
    std::mt19937 random(7);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width * height * 4));
    for (auto& value : pixels)
        value = static_cast<std::uint8_t>(random());
    return pixels;
}

TEST(PngWriter, WrittenPixelsReadBack) {
    const Tarnwick::Test::TempDir folder;
    const std::vector<std::uint8_t> pixels = noise(5, 3);
    std::string error;
    ASSERT_TRUE(writePng(folder.file("picture.png"), 5, 3, pixels, &error)) << error;
    int width = 0;
    int height = 0;
    EXPECT_EQ(readRgba(folder.file("picture.png"), width, height), pixels);
    EXPECT_EQ(width, 5);
    EXPECT_EQ(height, 3);
}

// Writing fails cleanly into a missing folder, with a wrong byte count, and when the disk refuses the
// data part-way (a file-size limit): the previous picture stays as it was and no temporary file is left.
TEST(PngWriter, FailedWriteKeepsPreviousFile) {
    const Tarnwick::Test::TempDir folder;
    std::string error;
    EXPECT_FALSE(writePng(folder.file("missing/picture.png"), 2, 2, noise(2, 2), &error));
    EXPECT_NE(error.find("missing/picture.png"), std::string::npos) << error;
    EXPECT_FALSE(writePng(folder.file("picture.png"), 2, 2, noise(2, 3), &error));
    EXPECT_FALSE(std::filesystem::exists(folder.file("picture.png")));

    const std::string path = folder.file("picture.png");
    ASSERT_TRUE(writePng(path, 2, 2, noise(2, 2), &error)) << error;
    const std::string previous = fileBytes(path);

    rlimit original{};
    getrlimit(RLIMIT_FSIZE, &original);
    rlimit small = original;
    small.rlim_cur = 1024;
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const bool written = writePng(path, 64, 64, noise(64, 64), &error);
    setrlimit(RLIMIT_FSIZE, &original);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_FALSE(written);
    EXPECT_NE(error.find("picture.png"), std::string::npos) << error;
    EXPECT_EQ(fileBytes(path), previous);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

} // namespace
} // namespace Tarnwick
