#pragma once

#include <epoxy/gl.h>

#include <Eigen/Core>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tarnwick::GL {

/// A linked GLSL program (RAII). Create and destroy it with its context current.
///
/// Define lines (for example "#define CYLINDER_MODE;") are inserted right after the `#version` line of
/// every stage, followed by a `#line` directive so that compiler messages keep the line numbers of the
/// original source.
class Program {
public:
    /// A compute program. Returns null and sets `error` (when given) to
    /// "compute shader: compile error: <compiler log>" or "link error: <log>" on failure.
    static std::unique_ptr<Program> createCompute(const std::string& source,
                                                  const std::vector<std::string>& defineLines, std::string* error);
    /// A draw program from vertex, fragment and (when not empty) geometry sources. Errors as createCompute,
    /// naming the failing stage ("vertex shader", "fragment shader", "geometry shader").
    static std::unique_ptr<Program> create(const std::string& vertexSource, const std::string& fragmentSource,
                                           const std::string& geometrySource,
                                           const std::vector<std::string>& defineLines, std::string* error);

    /// Takes ownership of a linked program object (as made by the create functions).
    explicit Program(GLuint id) : m_id(id) {}
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Makes this the current program (glUseProgram).
    void use() const;
    GLuint id() const { return m_id; }

    /// Location of a uniform, -1 when the program has none of that name (looked up once, then cached).
    GLint uniformLocation(const std::string& name) const;

    /// Set a uniform of this program without binding it (glProgramUniform*). Unknown names (also uniforms
    /// the compiler removed) are ignored.
    void setUniform(const std::string& name, int value) const;
    void setUniform(const std::string& name, float value) const;
    void setUniform(const std::string& name, const Eigen::Vector2f& value) const;
    void setUniform(const std::string& name, const Eigen::Vector3f& value) const;
    void setUniform(const std::string& name, const Eigen::Vector3i& value) const;
    void setUniform(const std::string& name, const Eigen::Vector4f& value) const;
    void setUniform(const std::string& name, const Eigen::Matrix4f& value) const;

    /// Runs a compute program: use() then glDispatchCompute(groups); nothing when a count is below 1. The
    /// caller issues the memory barrier its reads need (glMemoryBarrier).
    void dispatch(const Eigen::Vector3i& groups) const;

    /// `source` with the define lines inserted after its `#version` line (at the top when it has none).
    static std::string withDefines(const std::string& source, const std::vector<std::string>& defineLines);

private:
    GLuint m_id = 0;
    mutable std::unordered_map<std::string, GLint> m_locations;
};

} // namespace Tarnwick::GL
