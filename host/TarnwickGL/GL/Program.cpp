#include <TarnwickGL/GL/Program.h>

#include <algorithm>

namespace Tarnwick::GL {

namespace {

// Deletes a shader object when the scope ends (the linked program keeps what it needs).
struct ShaderObject {
    GLuint id;
    explicit ShaderObject(GLenum stage) : id(glCreateShader(stage)) {}
    ~ShaderObject() { glDeleteShader(id); }
    ShaderObject(const ShaderObject&) = delete;
    ShaderObject& operator=(const ShaderObject&) = delete;
};

std::string infoLog(GLuint object, bool isProgram) {
    GLint length = 0;
    isProgram ? glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length)
              : glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
    GLsizei written = 0;
    isProgram ? glGetProgramInfoLog(object, length, &written, log.data())
              : glGetShaderInfoLog(object, length, &written, log.data());
    log.resize(static_cast<std::size_t>(std::max(written, 0)));
    while (!log.empty() && (log.back() == '\n' || log.back() == ' ' || log.back() == '\0'))
        log.pop_back();
    return log;
}

const char* stageName(GLenum stage) {
    switch (stage) {
    case GL_COMPUTE_SHADER:
        return "compute shader";
    case GL_VERTEX_SHADER:
        return "vertex shader";
    case GL_GEOMETRY_SHADER:
        return "geometry shader";
    default:
        return "fragment shader";
    }
}

struct Stage {
    GLenum type;
    const std::string* source;
};

// Compiles the stages and links them; returns the program id, or 0 with the reason in `error`.
GLuint build(const std::vector<Stage>& stages, const std::vector<std::string>& defineLines, std::string* error) {
    std::vector<std::unique_ptr<ShaderObject>> shaders;
    for (const Stage& stage : stages) {
        auto shader = std::make_unique<ShaderObject>(stage.type);
        const std::string text = Program::withDefines(*stage.source, defineLines);
        const char* pointer = text.c_str();
        glShaderSource(shader->id, 1, &pointer, nullptr);
        glCompileShader(shader->id);
        GLint compiled = GL_FALSE;
        glGetShaderiv(shader->id, GL_COMPILE_STATUS, &compiled);
        if (!compiled) {
            if (error)
                *error = std::string(stageName(stage.type)) + ": compile error: " + infoLog(shader->id, false);
            return 0;
        }
        shaders.push_back(std::move(shader));
    }
    const GLuint program = glCreateProgram();
    for (const auto& shader : shaders)
        glAttachShader(program, shader->id);
    glLinkProgram(program);
    for (const auto& shader : shaders)
        glDetachShader(program, shader->id);
    GLint linked = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked) {
        if (error)
            *error = "link error: " + infoLog(program, true);
        glDeleteProgram(program);
        return 0;
    }
    return program;
}

} // namespace

std::string Program::withDefines(const std::string& source, const std::vector<std::string>& defineLines) {
    if (defineLines.empty())
        return source;
    // The #version directive must stay first; the defines follow it, then #line restores the numbering.
    std::size_t insertAt = 0;
    int nextLine = 1;
    std::size_t lineStart = 0;
    for (int line = 1; lineStart < source.size(); ++line) {
        const std::size_t lineEnd = source.find('\n', lineStart);
        const std::size_t first = source.find_first_not_of(" \t", lineStart);
        if (first != std::string::npos && source.compare(first, 8, "#version") == 0 &&
            (lineEnd == std::string::npos || first < lineEnd)) {
            insertAt = lineEnd == std::string::npos ? source.size() : lineEnd + 1;
            nextLine = line + 1;
            break;
        }
        if (lineEnd == std::string::npos)
            break;
        lineStart = lineEnd + 1;
    }
    std::string result = source.substr(0, insertAt);
    if (!result.empty() && result.back() != '\n')
        result += '\n';
    for (const std::string& define : defineLines)
        result += define + '\n';
    result += "#line " + std::to_string(nextLine) + '\n';
    result += source.substr(insertAt);
    return result;
}

std::unique_ptr<Program> Program::createCompute(const std::string& source, const std::vector<std::string>& defineLines,
                                                std::string* error) {
    const GLuint id = build({{GL_COMPUTE_SHADER, &source}}, defineLines, error);
    return id ? std::make_unique<Program>(id) : nullptr;
}

std::unique_ptr<Program> Program::create(const std::string& vertexSource, const std::string& fragmentSource,
                                         const std::string& geometrySource, const std::vector<std::string>& defineLines,
                                         std::string* error) {
    std::vector<Stage> stages = {{GL_VERTEX_SHADER, &vertexSource}, {GL_FRAGMENT_SHADER, &fragmentSource}};
    if (!geometrySource.empty())
        stages.push_back({GL_GEOMETRY_SHADER, &geometrySource});
    const GLuint id = build(stages, defineLines, error);
    return id ? std::make_unique<Program>(id) : nullptr;
}

Program::~Program() {
    glDeleteProgram(m_id);
}

void Program::use() const {
    glUseProgram(m_id);
}

GLint Program::uniformLocation(const std::string& name) const {
    const auto it = m_locations.find(name);
    if (it != m_locations.end())
        return it->second;
    const GLint location = glGetUniformLocation(m_id, name.c_str());
    m_locations.emplace(name, location);
    return location;
}

void Program::setUniform(const std::string& name, int value) const {
    glProgramUniform1i(m_id, uniformLocation(name), value);
}

void Program::setUniform(const std::string& name, float value) const {
    glProgramUniform1f(m_id, uniformLocation(name), value);
}

void Program::setUniform(const std::string& name, const Eigen::Vector2f& value) const {
    glProgramUniform2fv(m_id, uniformLocation(name), 1, value.data());
}

void Program::setUniform(const std::string& name, const Eigen::Vector3f& value) const {
    glProgramUniform3fv(m_id, uniformLocation(name), 1, value.data());
}

void Program::setUniform(const std::string& name, const Eigen::Vector3i& value) const {
    glProgramUniform3iv(m_id, uniformLocation(name), 1, value.data());
}

void Program::setUniform(const std::string& name, const Eigen::Vector4f& value) const {
    glProgramUniform4fv(m_id, uniformLocation(name), 1, value.data());
}

void Program::setUniform(const std::string& name, const Eigen::Matrix4f& value) const {
    // Eigen stores column-major, as GL expects without transposition.
    glProgramUniformMatrix4fv(m_id, uniformLocation(name), 1, GL_FALSE, value.data());
}

void Program::dispatch(const Eigen::Vector3i& groups) const {
    if ((groups.array() < 1).any())
        return;
    use();
    glDispatchCompute(static_cast<GLuint>(groups.x()), static_cast<GLuint>(groups.y()),
                      static_cast<GLuint>(groups.z()));
}

} // namespace Tarnwick::GL
