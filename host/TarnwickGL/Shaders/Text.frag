#version 430 core
// Text: the glyph atlas holds coverage, the colour is uniform.
in vec2 vAtlasCoord;
out vec4 fragColor;

uniform sampler2D uAtlas;
uniform vec4 uColor;

void main() {
    float coverage = texture(uAtlas, vAtlasCoord).r;
    if (coverage <= 0.0)
        discard;
    fragColor = vec4(uColor.rgb, uColor.a * coverage);
}
