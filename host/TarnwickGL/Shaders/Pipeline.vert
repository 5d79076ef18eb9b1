#version 430 core
// Vertex stage of FixedFunctionPipeline: transforms positions by model-view-projection and picks the
// per-vertex or the default colour.
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec4 aColor;

uniform mat4 uModelViewProjection;
uniform vec4 uDefaultColor;
uniform int uUseVertexColor;
uniform float uPointSize;

out vec4 vColor;

void main() {
    gl_Position = uModelViewProjection * vec4(aPosition, 1.0);
    gl_PointSize = uPointSize;
    vColor = uUseVertexColor != 0 ? aColor : uDefaultColor;
}
