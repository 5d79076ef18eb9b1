#version 430 core
// GlImage: planes given in world coordinates (slices), or a screen-filling quad given in clip
// coordinates with an identity transform (maximum-intensity projection).
layout(location = 0) in vec3 aPosition;

uniform mat4 uModelViewProjection;

out vec3 vWorld;

void main() {
    gl_Position = uModelViewProjection * vec4(aPosition, 1.0);
    vWorld = aPosition;
}
