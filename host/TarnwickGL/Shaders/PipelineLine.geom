#version 430 core
// Geometry stage of FixedFunctionPipeline for lines: turns each segment into a screen-space quad
// uLineWidth pixels wide (plus one pixel of anti-aliased fringe when uSmooth is set), after clipping
// the segment to the near plane so that the screen-space offset stays defined.
layout(lines) in;
layout(triangle_strip, max_vertices = 4) out;

in vec4 vColor[];
out vec4 gColor;
noperspective out float gDistance; // signed distance from the centre line, in pixels

uniform vec2 uViewportSize;
uniform float uLineWidth;
uniform int uSmooth;

void emit(vec4 position, vec2 offsetNdc, float distance, vec4 color) {
    gl_Position = position + vec4(offsetNdc * position.w, 0.0, 0.0);
    gDistance = distance;
    gColor = color;
    EmitVertex();
}

void main() {
    vec4 p0 = gl_in[0].gl_Position, p1 = gl_in[1].gl_Position;
    vec4 c0 = vColor[0], c1 = vColor[1];
    float d0 = p0.z + p0.w, d1 = p1.z + p1.w;
    if (d0 < 0.0 && d1 < 0.0)
        return;
    if (d0 < 0.0) {
        float t = d0 / (d0 - d1);
        p0 = mix(p0, p1, t);
        c0 = mix(c0, c1, t);
    } else if (d1 < 0.0) {
        float t = d1 / (d1 - d0);
        p1 = mix(p1, p0, t);
        c1 = mix(c1, c0, t);
    }
    vec2 halfViewport = 0.5 * uViewportSize;
    vec2 s0 = p0.xy / p0.w * halfViewport, s1 = p1.xy / p1.w * halfViewport;
    vec2 direction = s1 - s0;
    float len = length(direction);
    if (len < 1e-6)
        return;
    vec2 normal = vec2(-direction.y, direction.x) / len;
    float halfWidth = 0.5 * uLineWidth + (uSmooth != 0 ? 1.0 : 0.0);
    vec2 offset = normal * halfWidth / halfViewport;
    emit(p0, offset, halfWidth, c0);
    emit(p0, -offset, -halfWidth, c0);
    emit(p1, offset, halfWidth, c1);
    emit(p1, -offset, -halfWidth, c1);
    EndPrimitive();
}
