#include <TarnwickLib/IO/MeshFileIO.h>

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>

using namespace Tarnwick;

namespace {

Mesh tetrahedron() {
    return Mesh({{0, 0, 0}, {1.25, 0, 0}, {0, 1e-7, 0}, {0, 0, -3.5}}, {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {0, 2, 3}},
                "tetra");
}

} // namespace

TEST(MeshFileIO, RoundTripKeepsGeometryColoursAndScalars) {
    Tarnwick::Test::TempDir dir;
    Mesh mesh = tetrahedron();
    mesh.setVertexColor(2, Eigen::Vector3f(1.0f, 0.0f, 0.2f), 0.6f);
    mesh.setVertexScalars("vessel diameter", {1.5f, -2.0f, NAN, 4.0f});
    const std::string path = dir.file("tetra.ply");
    ASSERT_EQ(MeshFileIO::save(mesh, path), "");

    const MeshFileIO::LoadResult loaded = MeshFileIO::load(path);
    ASSERT_TRUE(loaded.mesh) << loaded.error;
    EXPECT_EQ(loaded.mesh->name(), "tetra");
    EXPECT_EQ(loaded.mesh->vertices(), mesh.vertices());
    EXPECT_EQ(loaded.mesh->faces(), mesh.faces());
    ASSERT_TRUE(loaded.mesh->hasVertexColors());
    EXPECT_TRUE(loaded.mesh->vertexColor(2).isApprox(Eigen::Vector4f(1.0f, 0.0f, 51 / 255.0f, 153 / 255.0f)));
    EXPECT_TRUE(loaded.mesh->vertexColor(0).isApprox(Eigen::Vector4f::Ones()));
    const std::vector<float>* scalars = loaded.mesh->vertexScalars("vessel_diameter");
    ASSERT_NE(scalars, nullptr);
    EXPECT_EQ((*scalars)[1], -2.0f);
    EXPECT_TRUE(std::isnan((*scalars)[2]));
}

TEST(MeshFileIO, MalformedFilesAreRefusedWithTheReason) {
    Tarnwick::Test::TempDir dir;
    const std::string header = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                               "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    struct Case {
        std::string text, reason;
    };
    const Case cases[] = {
        {"solid cube\n", "not a PLY file"},
        {"ply\nformat binary_little_endian 1.0\nelement vertex 0\nproperty float x\nproperty float y\n"
         "property float z\nend_header\n",
         "only 'format ascii 1.0' is supported"},
        {"ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nend_header\n0 0\n",
         "the vertices need the properties x, y and z"},
        {"ply\nformat ascii 1.0\nelement vertex 99999999999\nproperty float x\nproperty float y\n"
         "property float z\nend_header\n0 0 0\n",
         "the file ends after 1 of 99999999999 vertices"},
        {header + "0 0 0\n1 0 0\n0 1\n3 0 1 2\n", "vertex 2 is malformed"},
        {header + "0 0 0\n1 0 0\n0 1 0\n4 0 1 2 2\n", "face 0 is not a triangle"},
        {header + "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n", "face 0 refers to a missing vertex"},
        {header + "0 0 0\n1 0 0\n0 1 0\n", "the file ends after 0 of 1 faces"},
        {"ply\nformat ascii 1.0\nelement vertex 1\n", "the header has no 'end_header'"},
    };
    for (const Case& c : cases) {
        const std::string path = dir.file("bad.ply");
        std::ofstream(path) << c.text;
        const MeshFileIO::LoadResult result = MeshFileIO::load(path);
        EXPECT_FALSE(result.mesh) << c.reason;
        EXPECT_NE(result.error.find(c.reason), std::string::npos) << result.error;
    }
    EXPECT_FALSE(MeshFileIO::load(dir.file("missing.ply")).mesh);
}
