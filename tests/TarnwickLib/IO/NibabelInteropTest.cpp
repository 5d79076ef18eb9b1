#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/Subprocess.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <memory>

using namespace Tarnwick;
using ::testing::HasSubstr;

namespace {

const std::string script = std::string(TARNWICK_SOURCE_DIR) + "/tests/TarnwickLib/IO/nibabel_images.py";

/// Runs /usr/bin/python3 with `arguments`; returns the exit status and puts the output in `output`.
int runPython(const std::string& arguments, std::string* output = nullptr) {
    auto [status, text] = Tarnwick::Test::runShell("/usr/bin/python3 " + arguments);
    if (output)
        *output = text;
    return status;
}

/// Values of every channel of every voxel, x fastest, channels interleaved, as doubles.
std::vector<double> valuesOf(const MemImage& mem) {
    return dispatchPixelType(mem.pixelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* data = static_cast<const T*>(mem.data());
        return std::vector<double>(data, data + mem.descriptor().numValues());
    });
}

/// NIfTI files written by nibabel once for the whole suite, with the manifest describing them.
class NibabelFiles : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (runPython("-c 'import nibabel'") != 0)
            return;
        s_dir = std::make_unique<Tarnwick::Test::TempDir>();
        if (runPython(script + " write " + s_dir->path().string()) != 0)
            return;
        std::ifstream in(s_dir->file("manifest.json"));
        s_manifest = nlohmann::json::parse(in);
    }
    static void TearDownTestSuite() { s_dir.reset(); }

    void SetUp() override {
        if (s_manifest.is_null())
            GTEST_SKIP() << "nibabel is not available to /usr/bin/python3 (install python3-nibabel); skipping";
    }

    static std::string file(const std::string& name) { return s_dir->file(name); }

    static std::unique_ptr<Tarnwick::Test::TempDir> s_dir;
    static nlohmann::json s_manifest;
};

std::unique_ptr<Tarnwick::Test::TempDir> NibabelFiles::s_dir;
nlohmann::json NibabelFiles::s_manifest;

} // namespace

TEST_F(NibabelFiles, LoadWithTheirValuesAndWorldPositions) {
    int checked = 0;
    for (const auto& [name, expected] : s_manifest.items()) {
        if (expected["pixelType"].is_null())
            continue;
        SCOPED_TRACE(name);
        auto loaded = ImageFileIO::load(file(name));
        ASSERT_TRUE(loaded) << loaded.error;
        const SharedImage& image = *loaded.images->get(0);
        const ImageDescriptor& d = image.descriptor();
        EXPECT_EQ(pixelTypeName(d.pixelType), expected["pixelType"].get<std::string>());
        EXPECT_EQ(d.dimensions,
                  Eigen::Vector3i(expected["dimensions"][0], expected["dimensions"][1], expected["dimensions"][2]));
        EXPECT_EQ(d.channels, expected["channels"].get<int>());

        const std::vector<double> values = valuesOf(*image.mem());
        const auto expectedValues = expected["values"].get<std::vector<double>>();
        ASSERT_EQ(values.size(), expectedValues.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_NEAR(values[i], expectedValues[i], 1e-6 * std::max(1.0, std::abs(expectedValues[i]))) << i;

        for (const auto& voxel : expected["voxels"]) {
            const Eigen::Vector3d pixel(voxel["pixel"][0], voxel["pixel"][1], voxel["pixel"][2]);
            const Eigen::Vector3d world(voxel["world"][0], voxel["world"][1], voxel["world"][2]);
            EXPECT_LT((image.descriptorWorld().pixelToWorld(pixel) - world).norm(), 1e-4)
                << "pixel " << pixel.transpose() << " world " << world.transpose();
        }
        ++checked;
    }
    EXPECT_EQ(checked, 6);
}

TEST_F(NibabelFiles, UnsupportedContentIsReportedClearly) {
    auto frames = ImageFileIO::load(file("frames.nii"));
    EXPECT_FALSE(frames);
    EXPECT_THAT(frames.error, HasSubstr("4 dimensions (only 2-D and 3-D images are supported)"));
    auto wide = ImageFileIO::load(file("int64.nii"));
    EXPECT_FALSE(wide);
    EXPECT_THAT(wide.error, HasSubstr("Unsupported pixel type 'long'"));
    EXPECT_THAT(wide.error, HasSubstr(file("int64.nii")));
}

TEST_F(NibabelFiles, WhatWeSaveReadsBackInNibabelUnchanged) {
    std::string pairs;
    for (const char* name : {"oblique.nii.gz", "sform_only.nii", "flat.nii", "single_frame.nii", "vectors.nii"}) {
        auto loaded = ImageFileIO::load(file(name));
        ASSERT_TRUE(loaded) << loaded.error;
        const std::string copy = file(std::string("copy_") + name);
        auto saved = ImageFileIO::save(*loaded.images, copy);
        ASSERT_TRUE(saved.ok()) << saved.error;
        pairs += " " + file(name) + " " + copy;
    }
    std::string output;
    EXPECT_EQ(runPython(script + " compare" + pairs, &output), 0) << output;
}
