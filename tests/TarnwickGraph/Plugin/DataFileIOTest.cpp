// DataFileIO (host) with the graph plug-in loaded at run time: the host reaches GraphML only through
// the catalogue and graphs in data files only through the plug-in's record.
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace Tarnwick {
namespace {

using Test::LogCapture;

const std::string smallTree = std::string(TARNWICK_SOURCE_DIR) + "/tests/data/graphml/small-tree.graphml";

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::unique_ptr<SharedImageSet> smallImage() {
    auto values = TypedImage<short>::zeros(Eigen::Vector3i(3, 2, 2));
    values->setSpacing(Eigen::Vector3d(0.25, 0.5, 1.5));
    values->setValue(2, 1, 1, -40);
    return std::make_unique<SharedImageSet>(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(values))),
                                            "image");
}

class DataFileIOWithGraphPlugin : public testing::Test {
protected:
    static void SetUpTestSuite() {
        registerHostAlgorithms();
        s_plugins = new PluginManager();
        s_plugins->loadLibraries({GRAPH_PLUGIN_PATH});
    }
    static void TearDownTestSuite() {
        delete s_plugins;
        s_plugins = nullptr;
    }
    void SetUp() override { ASSERT_EQ(s_plugins->loadedPlugins().size(), 1u); }

    static inline PluginManager* s_plugins = nullptr;
    Tarnwick::Test::TempDir m_dir;
};

TEST_F(DataFileIOWithGraphPlugin, EachExtensionGoesToItsReaderAndWriter) {
    auto tree = DataFileIO::load(smallTree);
    ASSERT_TRUE(tree);
    ASSERT_EQ(tree->size(), 1u);
    Data* graph = tree->get(0);
    EXPECT_EQ(FactoryRegistry::get().describe(*graph), "Graph with 3 nodes and 2 edges");

    // GraphML out again through the plug-in's writer: the file reproduces the one read.
    ASSERT_TRUE(DataFileIO::save(m_dir.file("copy.graphml"), DataList{graph}));
    EXPECT_EQ(readFile(m_dir.file("copy.graphml")), readFile(smallTree));

    // A data file with a graph and an image, and an image file.
    auto image = smallImage();
    ASSERT_TRUE(DataFileIO::save(m_dir.file("both.tnw"), DataList{graph, image.get()}));
    ASSERT_TRUE(DataFileIO::save(m_dir.file("image.nrrd"), DataList{image.get()}));
    auto both = DataFileIO::load(m_dir.file("both.tnw"));
    ASSERT_TRUE(both);
    ASSERT_EQ(both->size(), 2u);
    EXPECT_EQ(FactoryRegistry::get().describe(*both->get(0)), "Graph with 3 nodes and 2 edges");
    for (const std::string& path : {m_dir.file("both.tnw"), m_dir.file("image.nrrd")}) {
        auto loaded = DataFileIO::load(path);
        ASSERT_TRUE(loaded) << path;
        auto* images = dynamic_cast<SharedImageSet*>(loaded->get(loaded->size() - 1));
        ASSERT_TRUE(images) << path;
        EXPECT_EQ(images->get(0)->descriptor(), image->get(0)->descriptor()) << path;
        EXPECT_EQ(images->mem(0)->minMax(), std::make_pair(-40.0, 0.0)) << path;
    }
    const auto extensions = DataFileIO::loadableExtensions();
    for (const char* extension : {".tnw", ".nii.gz", ".graphml"})
        EXPECT_NE(std::find(extensions.begin(), extensions.end(), extension), extensions.end()) << extension;
}

TEST_F(DataFileIOWithGraphPlugin, WhatCannotBeDoneIsRefusedWithAReason) {
    auto tree = DataFileIO::load(smallTree);
    ASSERT_TRUE(tree);
    auto image = smallImage();
    std::ofstream(m_dir.file("notes.xyz")) << "text";
    LogCapture log;
    struct Case {
        bool ok;
        std::string message;
    };
    const Case cases[] = {
        {bool(DataFileIO::load(m_dir.file("absent.graphml"))),
         "Cannot load '" + m_dir.file("absent.graphml") + "': no such file"},
        {bool(DataFileIO::load(m_dir.path().string())),
         "Cannot load '" + m_dir.path().string() + "': not a regular file"},
        {bool(DataFileIO::load(m_dir.file("notes.xyz"))), "no reader for '.xyz' files (known: .tnw, "},
        {DataFileIO::save(m_dir.file("two.graphml"), DataList{tree->get(0), tree->get(0)}),
         "no writer for '.graphml' files accepts 2 data sets"},
        {DataFileIO::save(m_dir.file("image.graphml"), DataList{image.get()}),
         "no writer for '.graphml' files accepts "},
        {DataFileIO::save(m_dir.file("graph.nii"), DataList{tree->get(0)}),
         "an image file holds exactly one image set"},
        {DataFileIO::save(m_dir.file("nothing.tnw"), DataList{}), "no data to save"},
    };
    const auto errors = log.errors();
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_FALSE(cases[i].ok) << cases[i].message;
        EXPECT_TRUE(std::any_of(errors.begin(), errors.end(), [&](const std::string& e) {
            return e.find(cases[i].message) != std::string::npos;
        })) << cases[i].message;
    }
}

} // namespace
} // namespace Tarnwick
