#include "../GlTestContext.h"
#include "TarnwickGLFoundationTestsResources.h"

#include <TarnwickCore/Resource.h>
#include <TarnwickGL/GL/Framebuffer.h>
#include <TarnwickGL/GL/Program.h>
#include <TarnwickGL/GL/ProgramCache.h>
#include <TarnwickGL/GL/Texture.h>
#include <TarnwickGL/GL/VertexBuffer.h>

#include <cstdint>
#include <vector>

namespace Tarnwick {
namespace {

// GL tests with the test shaders ("Test/...") registered as resources.
class ProgramTest : public Test::GlTest {
protected:
    void SetUp() override {
        GlTest::SetUp();
        Resource::addRepository(m_repository);
    }
    void TearDown() override { Resource::removeRepository(m_repository.get()); }

    std::shared_ptr<ResourceRepository> m_repository = TarnwickGLFoundationTestsResources();
};

// A compute program from the cache, with a define line, fills an R32UI 3-D texture whose size is not a
// multiple of the work-group size; every voxel is read back.
TEST_F(ProgramTest, ComputeShaderFillsIntegerVolume) {
    GL::ProgramCache cache(4);
    std::string error;
    GL::Program* program = cache.get("Test/FillLabels.comp", {"#define DOUBLE_VALUES"}, &error);
    ASSERT_NE(program, nullptr) << error;

    const Eigen::Vector3i dims(5, 4, 7);
    GL::Texture texture(GL_TEXTURE_3D, GL::InternalFormat::R32UI, dims);
    const std::uint32_t untouched = 65535;
    texture.clear(&untouched);
    texture.bindImage(0, GL_WRITE_ONLY);
    program->setUniform("u_dims", dims);
    program->setUniform("u_offset", 3);
    program->dispatch(((dims.array() + 3) / 4).matrix());
    glMemoryBarrier(GL_TEXTURE_UPDATE_BARRIER_BIT);

    std::vector<std::uint32_t> values(static_cast<std::size_t>(dims.prod()));
    ASSERT_TRUE(texture.download(values.data(), values.size() * sizeof(std::uint32_t)));
    EXPECT_FALSE(texture.download(values.data(), values.size() * sizeof(std::uint32_t) - 1));
    std::size_t wrong = 0;
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x)
                wrong += values[static_cast<std::size_t>(x + dims.x() * (y + dims.y() * z))] !=
                         static_cast<std::uint32_t>(2 * (x + 10 * y + 100 * z + 3));
    EXPECT_EQ(wrong, 0u);
}

// Compiler messages name the stage and the problem, with the line number of the original source even
// though define lines were inserted.
TEST_F(ProgramTest, CompileErrorNamesProblemAndLine) {
    const std::string source = "#version 430\n"
                               "layout(local_size_x = 1) in;\n"
                               "void main() {\n"
                               "    int value = undeclaredThing;\n"
                               "}\n";
    std::string error;
    EXPECT_EQ(GL::Program::createCompute(source, {"#define A 1", "#define B 2"}, &error), nullptr);
    EXPECT_NE(error.find("compute shader: compile error"), std::string::npos) << error;
    EXPECT_NE(error.find("undeclaredThing"), std::string::npos) << error;
    EXPECT_NE(error.find("0:4("), std::string::npos) << error;

    GL::ProgramCache cache(2);
    EXPECT_EQ(cache.get("Test/Missing.comp", {}, &error), nullptr);
    EXPECT_EQ(error, "resource 'Test/Missing.comp' not found");
    EXPECT_EQ(cache.size(), 0u);
}

// The cache keeps the most recently used programs: with capacity 2, using A, B, A, C drops B and keeps A.
// Without the resources, kept programs are still served and dropped ones cannot be rebuilt.
TEST_F(ProgramTest, CacheEvictsLeastRecentlyUsed) {
    GL::ProgramCache cache(2);
    std::string error;
    const std::vector<std::string> a, b = {"#define DOUBLE_VALUES"}, c = {"#define OTHER"};
    GL::Program* programA = cache.get("Test/FillLabels.comp", a, &error);
    ASSERT_NE(programA, nullptr) << error;
    ASSERT_NE(cache.get("Test/FillLabels.comp", b, &error), nullptr) << error;
    EXPECT_EQ(cache.get("Test/FillLabels.comp", a, &error), programA);
    ASSERT_NE(cache.get("Test/FillLabels.comp", c, &error), nullptr) << error;
    EXPECT_EQ(cache.size(), 2u);

    Resource::removeRepository(m_repository.get());
    EXPECT_EQ(cache.get("Test/FillLabels.comp", a, &error), programA);
    EXPECT_NE(cache.get("Test/FillLabels.comp", c, &error), nullptr);
    EXPECT_EQ(cache.get("Test/FillLabels.comp", b, &error), nullptr);
    EXPECT_EQ(error, "resource 'Test/FillLabels.comp' not found");
}

// Vertex records feed position (attribute 0) and colour (attribute 1): a triangle over the lower-left half
// of the target takes its vertex colour there and leaves the upper-right corner at the clear colour.
TEST_F(ProgramTest, VertexBufferFeedsPositionAndColour) {
    GL::ProgramCache cache(2);
    std::string error;
    GL::Program* program = cache.get("Test/Passthrough.vert", "Test/Passthrough.frag", "", {}, &error);
    ASSERT_NE(program, nullptr) << error;
    GL::Framebuffer target(8, 8);
    target.bind();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    const float green[4] = {0.0f, 1.0f, 0.0f, 1.0f};
    std::vector<GL::Vertex> vertices(3);
    const float corners[3][3] = {{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}};
    for (int i = 0; i < 3; ++i) {
        std::copy(corners[i], corners[i] + 3, vertices[i].position);
        std::copy(green, green + 4, vertices[i].color);
    }
    GL::VertexBuffer buffer;
    buffer.setVertices(vertices);
    program->use();
    buffer.draw(GL_TRIANGLES);

    const std::vector<std::uint8_t> pixels = target.readPixels();
    const auto pixel = [&](int x, int y) {
        const std::size_t at = static_cast<std::size_t>(y * 8 + x) * 4;
        return std::vector<int>(pixels.begin() + at, pixels.begin() + at + 4);
    };
    EXPECT_EQ(pixel(1, 6), (std::vector<int>{0, 255, 0, 255})); // lower left (rows top-down)
    EXPECT_EQ(pixel(6, 1), (std::vector<int>{0, 0, 0, 255}));   // upper right
}

} // namespace
} // namespace Tarnwick
