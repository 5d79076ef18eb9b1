#version 430 core
// Fragment stage of FixedFunctionPipeline for triangles: the interpolated colour.
in vec4 vColor;
out vec4 fragColor;

void main() { fragColor = vColor; }
