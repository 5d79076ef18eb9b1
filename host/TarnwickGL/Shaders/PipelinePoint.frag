#version 430 core
// Fragment stage of FixedFunctionPipeline for points. Square points fill the whole sprite; smooth
// points are discs of diameter uPointDiameter pixels with a one-pixel anti-aliased rim (the sprite is
// one pixel larger than the disc, see FixedFunctionPipeline).
in vec4 vColor;
out vec4 fragColor;

uniform int uSmooth;
uniform float uPointDiameter;

void main() {
    float coverage = 1.0;
    if (uSmooth != 0) {
        float r = length(gl_PointCoord - vec2(0.5)) * (uPointDiameter + 1.0);
        coverage = clamp(0.5 * uPointDiameter + 0.5 - r, 0.0, 1.0);
        if (coverage <= 0.0)
            discard;
    }
    fragColor = vec4(vColor.rgb, vColor.a * coverage);
}
