#pragma once

#include <TarnwickGL/GL/Buffer.h>

#include <vector>

namespace Tarnwick::GL {

/// A buffer bound to GL_SHADER_STORAGE_BUFFER binding points (bindBase(index) for `layout(binding = index)`).
class ShaderStorageBuffer : public Buffer {
public:
    ShaderStorageBuffer() : Buffer(GL_SHADER_STORAGE_BUFFER) {}

    using Buffer::setData;
    /// Uploads the elements of `values` (T must be trivially copyable and match the shader's std430 layout).
    template <class T>
    void setData(const std::vector<T>& values, GLenum usage = GL_STATIC_DRAW) {
        setData(values.data(), values.size() * sizeof(T), usage);
    }
};

} // namespace Tarnwick::GL
