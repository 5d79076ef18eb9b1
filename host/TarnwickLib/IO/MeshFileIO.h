#pragma once

#include <TarnwickLib/Data/Mesh.h>

#include <memory>
#include <string>

namespace Tarnwick {

/// Triangle meshes in ASCII PLY files (".ply"), for the command line and tests.
///
/// Reading: the header must be "ply", "format ascii 1.0", an "element vertex" with scalar properties
/// among which x, y and z, and optionally an "element face" whose only property is a list of vertex
/// indices (triangles only). Vertex properties red, green, blue (and alpha), read as 0..255, become the
/// vertex colours; every other vertex property becomes a vertex scalar field of that name. Counts in the
/// header are never trusted for allocation: the body is read line by line and a file that ends early,
/// has malformed numbers or out-of-range indices is refused with the line it failed on.
///
/// Writing: x y z as doubles, the colours as uchar red green blue alpha when the mesh has them, each
/// scalar field as a float property (blanks in names become '_'), then the triangles.
class MeshFileIO {
public:
    struct LoadResult {
        std::unique_ptr<Mesh> mesh; ///< null on failure
        std::string error;          ///< why, when mesh is null
    };

    /// File name extension, without the dot.
    static constexpr const char* extension = "ply";

    static bool isSupported(const std::string& path);
    static LoadResult load(const std::string& path);
    /// Writes to a temporary file next to `path` and renames it over `path` only on success. Returns an
    /// empty string on success, the reason otherwise.
    static std::string save(const Mesh& mesh, const std::string& path);
};

} // namespace Tarnwick
