#version 430 core
// Text quads in pixel coordinates (x right, y down from the top-left corner of the viewport). The
// vertex record's colour attribute carries the glyph's atlas coordinates in its first two components.
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec4 aAtlasCoord;

uniform vec2 uViewportSize;

out vec2 vAtlasCoord;

void main() {
    gl_Position = vec4(2.0 * aPosition.x / uViewportSize.x - 1.0, 1.0 - 2.0 * aPosition.y / uViewportSize.y, 0.0, 1.0);
    vAtlasCoord = aAtlasCoord.xy;
}
